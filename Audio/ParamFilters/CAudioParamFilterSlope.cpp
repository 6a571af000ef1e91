#include "Audio/ParamFilters/CAudioParamFilterSlope.h"

#include <cmath>
#include <numbers>

#include "Audio/CAudioParam.h"
#include "Audio/CAudioParamLockContext.h"

namespace orl {

int32_t CAudioParamFilterSlope::compute(CAudioParamLockContext* const* srcLocks, int32_t group, int32_t element,
                                        double* out) {
    const double v = srcLocks[0]->param().uiStorage().getValue(group, element, 1.0);
    // v * 5 dB, as a linear gain.
    out[0] = std::exp(std::numbers::ln10 * (v * 10.0 * 0.5 / 20.0));
    return 1;
}

}  // namespace orl
