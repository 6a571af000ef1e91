#pragma once
#include "Audio/ParamFilters/CAudioParamFilter.h"

namespace orl {

// The bypass flag of the group solo stage (tag "audio:param-filter-bypass-group-solo"): 0.0 as
// soon as any group of the source has its solo (element 0) at 0.5 or above, else 1.0. The stage
// is left out of the chain while no group is soloed.
class CAudioParamFilterBypassGroupSolo : public CAudioParamFilter {
public:
    void apply(CAudioParamLockContext* const* srcLocks, CAudioParamLockContext* const* dstLocks,
               const CAudioParamChange& record, const CAudioParamUndoContext& undo) override;
};

}  // namespace orl
