#include "Audio/ParamFilters/CAudioParamFilterBypassOS.h"

#include <cmath>

#include "Audio/CAudioParam.h"
#include "Audio/CAudioParamChange.h"
#include "Audio/CAudioParamLockContext.h"
#include "Audio/Converters/CAudioParamConverter.h"

namespace orl {

void CAudioParamFilterBypassOS::apply(CAudioParamLockContext* const* srcLocks, CAudioParamLockContext* const* dstLocks,
                                      const CAudioParamChange& record, const CAudioParamUndoContext& undo) {
    // A single-group parameter has group 0 whatever group its changes name.
    const bool groupZero = record.group == 0 || record.group == CAudioParamChange::kWholeParam || record.singleGroup;
    if (!groupZero) return;
    const double os = CAudioParamConverter::roundHalfAway(srcLocks[0]->param().uiStorage().getValue(0, 0, 1.0));
    const double hm = CAudioParamConverter::roundHalfAway(srcLocks[1]->param().uiStorage().getValue(0, 0, 0.0));
    // Automatic oversampling, or a host that forces it, leaves the level to the host's mode.
    const double level = os == 0.0 || hm < 0.0 ? std::fabs(hm) : os - 1.0;
    changeFlag(*dstLocks[0], level == 0.0 ? 1.0 : 0.0, record, undo);
}

}  // namespace orl
