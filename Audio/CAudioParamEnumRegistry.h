#pragma once

namespace orl {

class CAudioParam;
class CAudioParamChange;
class CAudioParamLockContext;
struct CAudioParamUndoContext;

// The registry that enumerates a parameter's values as presets of its own, and so has to know
// of each change of it, before the parameter's listeners do.
class CAudioParamEnumRegistry {
public:
    virtual ~CAudioParamEnumRegistry() = default;
    virtual void onParamChanged(CAudioParam& param, const CAudioParamChange& record, CAudioParamLockContext& lock,
                                const CAudioParamUndoContext& undo) = 0;
};

}  // namespace orl
