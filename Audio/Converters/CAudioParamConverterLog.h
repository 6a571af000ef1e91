#pragma once
#include "Audio/Converters/CAudioParamConverter.h"

namespace orl {

// A logarithmic knob scale for positive ranges, bent by a power and optionally split at a
// threshold: with `scale-threshold` t above 0 the knob's part 0..t covers the minimum up to 1
// and the part t..1 covers 1 up to the maximum, so that t is the value 1 (0 dB of a gain).
// `scale-power` p above 1 gives the lower part of the scale more of the knob.
class CAudioParamConverterLog : public CAudioParamConverter {
public:
    // Reads and checks `scale-power` (default 1.0, must be above 0) and `scale-threshold`
    // (default -1.0, none; must not be above 1).
    CError* init() override;

    double normToValue(const CAudioParamInfo& info, int32_t element, double norm) const override;
    double valueToNorm(const CAudioParamInfo& info, int32_t element, double value) const override;

    double scalePower() const { return m_power; }
    double scaleThreshold() const { return m_threshold; }

private:
    bool powerIsOne() const;

    double m_power = 1.0;
    double m_threshold = -1.0;
};

}  // namespace orl
