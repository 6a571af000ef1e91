#pragma once

namespace orl {

struct CAudioParamUndoContext;

// Whoever derives the automatic routing from the state of the routing parameters (the shell,
// for the master registry). Told after a preset or a reset has set the parameters, so that its
// own changes join the same undo step and the same batch.
class CAudioRoutingInfoProvider {
public:
    virtual ~CAudioRoutingInfoProvider() = default;
    virtual void updateAutoRouting(const void* source, const CAudioParamUndoContext& undo) = 0;
};

}  // namespace orl
