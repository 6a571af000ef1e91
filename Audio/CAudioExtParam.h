#pragma once
#include <cstdint>

#include "Audio/CAudioParamChangeListener.h"
#include "Core/CObject.h"

namespace orl {

class CAudioExtParamHostBridge;
class CAudioParam;
class CAudioParamCollector;

// `audio:ext-param`: one element of one group of a parameter as the host sees it, a short name
// and a normalised value from 0 to 1. Attributes, read at init: `param-collector`, `ext-name`
// (1 to 7 characters), `element-index`, `group`, `param-name`.
//
// Every change of that element, from whatever source but the host itself, goes to the host
// through the collector's deferred notifications, once no parameter is locked any more.
// Every call may come from any host thread; each takes the parameter's lock.
class CAudioExtParam : public CObject, public CAudioParamChangeListener {
public:
    static constexpr int32_t kMaxNameLength = 7;

    ~CAudioExtParam() override;
    CError* init() override;

    // The host sets the value: clamped to 0..1 and made a change of the element, with no undo
    // step. An element beyond the group's end grows the group with defaults.
    void setNormalised(double value);
    double getNormalised() const;
    const CString& getName() const { return m_extName; }
    // The value's short text, and the unit.
    void getDisplay(CString& out) const;
    void getLabel(CString& out) const;
    // The short text of another normalised value.
    void formatNormalised(CString& out, double value) const;
    // The normalised value of a text; the default when it doesn't parse, 0.5 without definition.
    double parseText(const CString& text) const;
    // Where the host hears of changes, and its index there; set by the shell once all is built.
    void setHostBridge(CAudioExtParamHostBridge* bridge, int32_t extIndex);

    CAudioParam* param() const { return m_param; }
    int32_t group() const { return m_group; }
    int32_t element() const { return m_element; }

    void onParamChanged(const void* source, CAudioParam& param, const CAudioParamChange& record,
                        CAudioParamLockContext& lock, const CAudioParamUndoContext& undo) override;

private:
    void formatPlainLocked(CString& out, double norm) const;

    int32_t m_group = 0;
    int32_t m_element = 0;
    CString m_extName;
    CAudioParamCollector* m_collector = nullptr;
    CAudioParam* m_param = nullptr;
    CAudioExtParamHostBridge* m_bridge = nullptr;
    int32_t m_extIndex = -1;
    double m_lastNormalised = 0.0;
};

}  // namespace orl
