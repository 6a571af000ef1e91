#pragma once
#include "Audio/ParamFilters/CAudioParamFilter.h"

namespace orl {

// The bypass flag of the mid/side coders (tag "audio:param-filter-bypass-ms"). The source holds
// one pair number per channel, 0 for none; two channels with the same number form a pair. The
// flag is 0.0 when some number above 0 stands on two channels or more, else 1.0 (no elements:
// 1.0), so the coders are left out of the chain while no pair exists.
class CAudioParamFilterBypassMS : public CAudioParamFilter {
public:
    void apply(CAudioParamLockContext* const* srcLocks, CAudioParamLockContext* const* dstLocks,
               const CAudioParamChange& record, const CAudioParamUndoContext& undo) override;
};

}  // namespace orl
