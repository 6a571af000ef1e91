#pragma once
#include "Audio/ParamFilters/CAudioParamFilter.h"

namespace orl {

// The mirror of its source (tag "audio:param-filter-invert"). With division the destination is
// 1 / v; without it, the value at the mirrored normalised position of the source's element-0
// converter, normToValue(1 - valueToNorm(v)), which for a symmetric gain range negates the dB.
class CAudioParamFilterInvert : public CAudioParamFilter {
public:
    explicit CAudioParamFilterInvert(bool isDivision = false) : m_isDivision(isDivision) {}

    int32_t compute(CAudioParamLockContext* const* srcLocks, int32_t group, int32_t element, double* out) override;

    bool isDivision() const { return m_isDivision; }

private:
    bool m_isDivision;
};

}  // namespace orl
