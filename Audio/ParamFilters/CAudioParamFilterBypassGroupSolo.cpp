#include "Audio/ParamFilters/CAudioParamFilterBypassGroupSolo.h"

#include "Audio/CAudioParam.h"
#include "Audio/CAudioParamLockContext.h"

namespace orl {

void CAudioParamFilterBypassGroupSolo::apply(CAudioParamLockContext* const* srcLocks,
                                             CAudioParamLockContext* const* dstLocks,
                                             const CAudioParamChange& record, const CAudioParamUndoContext& undo) {
    // Whatever group changed, the answer depends on all of them.
    const CAudioParamStorage& solo = srcLocks[0]->param().uiStorage();
    bool anySolo = false;
    for (int32_t g = 0; g < solo.groupCount() && !anySolo; ++g) anySolo = solo.getValue(g, 0, 0.0) >= 0.5;
    changeFlag(*dstLocks[0], anySolo ? 0.0 : 1.0, record, undo);
}

}  // namespace orl
