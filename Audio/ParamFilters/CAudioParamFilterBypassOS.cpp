#include "Audio/ParamFilters/CAudioParamFilterBypassOS.h"

#include "Audio/CAudioParam.h"
#include "Audio/CAudioParamChange.h"
#include "Audio/CAudioParamLockContext.h"
#include "Audio/Processes/CModResampler.h"

namespace orl {

void CAudioParamFilterBypassOS::apply(CAudioParamLockContext* const* srcLocks, CAudioParamLockContext* const* dstLocks,
                                      const CAudioParamChange& record, const CAudioParamUndoContext& undo) {
    // A single-group parameter has group 0 whatever group its changes name.
    const bool groupZero = record.group == 0 || record.group == CAudioParamChange::kWholeParam || record.singleGroup;
    if (!groupZero) return;
    // The resamplers count their stages by the same rule, so the flag is on exactly when they
    // would run none.
    const int32_t stages = CModResampler::stagesFor(srcLocks[0]->param().uiStorage().getValue(0, 0, 1.0),
                                                    srcLocks[1]->param().uiStorage().getValue(0, 0, 0.0));
    changeFlag(*dstLocks[0], stages == 0 ? 1.0 : 0.0, record, undo);
}

}  // namespace orl
