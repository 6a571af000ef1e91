#include "Audio/ParamFilters/CAudioParamFilterInvert.h"

#include "Audio/CAudioParam.h"
#include "Audio/CAudioParamInfo.h"
#include "Audio/CAudioParamLockContext.h"
#include "Audio/Converters/CAudioParamConverter.h"

namespace orl {

int32_t CAudioParamFilterInvert::compute(CAudioParamLockContext* const* srcLocks, int32_t group, int32_t element,
                                         double* out) {
    const CAudioParam& source = srcLocks[0]->param();
    const CAudioParamStorage& ui = source.uiStorage();
    // Nothing to mirror yet: the destination keeps what it has.
    if (!ui.isValid()) return 0;
    const double v = ui.getValue(group, element, 0.0);
    if (m_isDivision) {
        // An infinite result would poison whatever reads it; the destination stays instead.
        if (v == 0.0) return 0;
        out[0] = 1.0 / v;
        return 1;
    }
    const CAudioParamInfo* info = source.info();
    const CAudioParamConverter* converter = info ? info->converter(0) : nullptr;
    if (!converter) return 0;
    out[0] = converter->normToValue(*info, 0, 1.0 - converter->valueToNorm(*info, 0, v));
    return 1;
}

}  // namespace orl
