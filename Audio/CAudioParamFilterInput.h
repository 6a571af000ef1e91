#pragma once

namespace orl {

class CAudioParam;
class CAudioParamChange;
class CAudioParamLockContext;
struct CAudioParamUndoContext;

// A filter as one of its sources sees it: fed with every change of that source, after the
// listeners, to recompute the parameters that it makes from its sources.
class CAudioParamFilterInput {
public:
    virtual ~CAudioParamFilterInput() = default;
    virtual void feed(CAudioParam& source, const CAudioParamChange& record, CAudioParamLockContext& lock,
                      const CAudioParamUndoContext& undo) = 0;
};

}  // namespace orl
