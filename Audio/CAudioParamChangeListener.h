#pragma once

namespace orl {

class CAudioParam;
class CAudioParamChange;
class CAudioParamLockContext;
struct CAudioParamUndoContext;

// Hears of a parameter's changes, on the changing thread with the parameter locked. A listener
// that changes parameters itself passes the lock context it is given, and skips the changes
// whose source is its own.
class CAudioParamChangeListener {
public:
    virtual ~CAudioParamChangeListener() = default;
    virtual void onParamChanged(const void* source, CAudioParam& param, const CAudioParamChange& record,
                                CAudioParamLockContext& lock, const CAudioParamUndoContext& undo) = 0;
};

}  // namespace orl
