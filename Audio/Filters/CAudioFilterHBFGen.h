#pragma once
#include <cstdint>

#include "Audio/Filters/CAudioFilterDesc.h"
#include "Audio/Filters/CAudioFilterGen.h"

namespace orl {

// A polyphase IIR half-band low-pass, tag "audio:fltgen-hbf": two branches of first-order
// allpass sections in z^-2 with the coefficients `a` and `b` (comma lists of equal length, at
// most 8 each), the `b` branch one sample behind, the output half their sum. It takes no values
// and does not depend on the rate: it sits at half the rate of whatever runs it.
class CAudioFilterHBFGen : public CAudioFilterGen {
public:
    CError* init() override;
    bool make(const CAudioFilterValues& values, double sampleRate, CAudioFilterList& list) const override;

    int32_t sections() const { return m_sections; }
    const double* a() const { return m_a; }
    const double* b() const { return m_b; }

private:
    int32_t m_sections = 0;
    double m_a[CAudioFilterDesc::kMaxBranchCoeffs] = {};
    double m_b[CAudioFilterDesc::kMaxBranchCoeffs] = {};
};

}  // namespace orl
