#pragma once

namespace orl {

class CAudioParam;

// A scoped lock on a parameter. Taking it tells the parameter's lock observer, then enters the
// parameter's section; releasing leaves the section, then tells the observer. A context made
// with a parent that already holds the same parameter, directly or further up, takes nothing:
// so a context passed down to nested changes costs no second lock.
class CAudioParamLockContext {
public:
    explicit CAudioParamLockContext(CAudioParam& param, CAudioParamLockContext* parent = nullptr);
    ~CAudioParamLockContext() { release(); }
    CAudioParamLockContext(const CAudioParamLockContext&) = delete;
    CAudioParamLockContext& operator=(const CAudioParamLockContext&) = delete;

    // Releases early; later calls do nothing.
    void release();

    CAudioParam& param() const { return m_param; }
    CAudioParamLockContext* parent() const { return m_parent; }
    // Whether this context entered the section itself.
    bool holdsLock() const { return m_holds; }
    // Whether this context or one of its parents holds param.
    bool covers(const CAudioParam& param) const;

private:
    CAudioParam& m_param;
    CAudioParamLockContext* m_parent;
    bool m_holds = false;
};

}  // namespace orl
