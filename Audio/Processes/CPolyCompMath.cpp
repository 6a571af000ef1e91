#include "Audio/Processes/CPolyCompMath.h"

#include <cmath>
#include <numbers>

namespace orl {

double CPolyCompMath::onePoleCoeff(double seconds, double sampleRate) {
    double w = 2.0 * std::numbers::pi / (seconds * sampleRate);
    // Also catches a zero time or rate (w infinite) and a time that isn't a number.
    if (!(w < std::numbers::pi)) w = std::numbers::pi;
    const double t = 2.0 - std::cos(w);
    return 1.0 - t + std::sqrt(t * t - 1.0);
}

void CPolyCompMath::buildStageTable(CPolyCompState& state, double attack, double inertia, double sampleRate) {
    state.outGainCoeff = onePoleCoeff(kOutGainTime, sampleRate);
    const double q = 1.3 + 0.8 * (1.0 - inertia);
    const double q2 = q * q;
    double t = attack / (q2 * q2);
    int32_t count = 0;
    int32_t slow = -1;
    // The bound on the count keeps a degenerate attack or inertia (zero, negative, a spacing of
    // 1 or less) from running past the table.
    while (t < kLongestStage && count < CPolyCompState::kMaxStages) {
        if (slow < 0 && t > kSlowStageFrom) slow = count;
        state.stageCoeff[count] = onePoleCoeff(t, sampleRate);
        t *= q;
        ++count;
    }
    state.stageCount = count;
    state.slowStart = slow < 0 ? count : slow;
}

void CPolyCompMath::setCurve(CPolyCompState& state, double slope, double kneeDb) {
    double m;
    if (slope > 0.9999) {
        m = 0.9999 - 1.0;
    } else if (slope > 0.002) {
        m = slope - 1.0;
    } else {
        m = -1.0;
    }
    const double a = std::atan(-m);
    const double x = (std::numbers::pi - a) / 2.0;
    const double k = -kneeDb / 2.0;
    const double c = k * std::tan(x);
    state.kneeSlopeM = m;
    state.kneeStart = k;
    state.kneeCentreY = c;
    state.kneeRadiusSq = c * c;
    state.kneeEnd = k - c * std::sin(2.0 * x);
}

}  // namespace orl
