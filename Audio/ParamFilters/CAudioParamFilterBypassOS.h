#pragma once
#include "Audio/ParamFilters/CAudioParamFilter.h"

namespace orl {

// The bypass flag of the resamplers (tag "audio:param-filter-bypass-os"). Source 0 is the
// oversampling setting (0 automatic, n for 2^(n-1) times), source 1 the host's oversampling
// mode (below 0 forces the level -mode). The flag is 1.0 when the effective level is 0, that is
// no oversampling, else 0.0. Only a change of group 0 (or of the whole parameter) concerns it.
class CAudioParamFilterBypassOS : public CAudioParamFilter {
public:
    int32_t getSrcCount() const override { return 2; }
    void apply(CAudioParamLockContext* const* srcLocks, CAudioParamLockContext* const* dstLocks,
               const CAudioParamChange& record, const CAudioParamUndoContext& undo) override;
};

}  // namespace orl
