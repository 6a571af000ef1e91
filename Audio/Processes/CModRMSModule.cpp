#include "Audio/Processes/CModRMSModule.h"

#include <cmath>
#include <numbers>

namespace orl {

namespace {

// An accumulator that has decayed this far no longer shows in the output, where the floor
// absorbs it; setting it to zero keeps long silence free of subnormal numbers, which are slow
// on a processor without flush-to-zero.
constexpr double kFlushBelow = 1e-200;

}  // namespace

void CModRMSModule::resetState() {
    m_z1 = 0.0;
    m_z2 = 0.0;
}

void CModRMSModule::update() {
    const double freq = paramValue(0, kDefaultFreq);
    // The one-pole coefficient whose response falls by 3 dB at `freq`. The angle is not clamped:
    // the highest setting stays below pi at the lowest rate in use.
    if (m_sampleRate > 0.0) {
        const double t = 2.0 - std::cos(2.0 * std::numbers::pi * freq / m_sampleRate);
        m_coeff = 1.0 - t + std::sqrt(t * t - 1.0);
    }
    m_routine = paramInt(1, 0) != 0 ? &CModRMSModule::runTwoPoles : &CModRMSModule::runOnePole;
}

void CModRMSModule::runOnePole(const double* in, double* out, int32_t count) {
    const double c = m_coeff;
    double z1 = m_z1;
    for (int32_t i = 0; i < count; ++i) {
        z1 += (in[i] * in[i] - z1) * c;
        z1 = z1 < kFlushBelow ? 0.0 : z1;
        out[i] = std::sqrt(z1) + kFloor;
    }
    m_z1 = z1;
}

void CModRMSModule::runTwoPoles(const double* in, double* out, int32_t count) {
    const double c = m_coeff;
    double z1 = m_z1;
    double z2 = m_z2;
    for (int32_t i = 0; i < count; ++i) {
        z1 += (in[i] * in[i] - z1) * c;
        z1 = z1 < kFlushBelow ? 0.0 : z1;
        z2 += (z1 - z2) * c;
        z2 = z2 < kFlushBelow ? 0.0 : z2;
        out[i] = std::sqrt(z2) + kFloor;
    }
    m_z1 = z1;
    m_z2 = z2;
}

void CModRMSModule::process() {
    // One channel's state: a module of this class always has exactly one input.
    if (m_inputCount < 1 || m_outputCount < 1) return;
    (this->*m_routine)(inputData(0), outputData(0), m_sampleCount);
}

}  // namespace orl
