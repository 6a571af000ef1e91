#pragma once
#include "Audio/ParamFilters/CAudioParamFilter.h"

namespace orl {

// The gain of the detector's emphasis shelves (tag "audio:param-filter-slope"): a slope setting
// v becomes the linear gain 10^(v / 4), 5 dB per unit. A source without values counts as 1.
class CAudioParamFilterSlope : public CAudioParamFilter {
public:
    int32_t compute(CAudioParamLockContext* const* srcLocks, int32_t group, int32_t element, double* out) override;
};

}  // namespace orl
