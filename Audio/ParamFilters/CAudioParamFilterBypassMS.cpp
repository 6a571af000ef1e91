#include "Audio/ParamFilters/CAudioParamFilterBypassMS.h"

#include <algorithm>

#include "Audio/CAudioParam.h"
#include "Audio/CAudioParamChange.h"
#include "Audio/CAudioParamLockContext.h"
#include "Audio/Converters/CAudioParamConverter.h"
#include "Core/CArray.h"

namespace orl {

void CAudioParamFilterBypassMS::apply(CAudioParamLockContext* const* srcLocks, CAudioParamLockContext* const* dstLocks,
                                      const CAudioParamChange& record, const CAudioParamUndoContext& undo) {
    const CAudioParamStorage& pairs = srcLocks[0]->param().uiStorage();
    const bool whole = record.group == CAudioParamChange::kWholeParam;
    const int32_t group = whole || pairs.isSingleGroup() ? 0 : record.group;

    // The pair numbers in use, sorted, so that a number on two channels stands twice in a row.
    CArray<double, 16> used;
    const int32_t elements = pairs.elementCount(group);
    for (int32_t e = 0; e < elements; ++e) {
        const double pair = CAudioParamConverter::roundHalfAway(pairs.getValue(group, e, 0.0));
        if (pair > 0.0) used.add(pair);
    }
    std::sort(used.begin(), used.end());
    bool paired = false;
    for (int32_t i = 1; i < used.count() && !paired; ++i) paired = used[i] == used[i - 1];
    changeFlag(*dstLocks[0], paired ? 0.0 : 1.0, record, undo);
}

}  // namespace orl
