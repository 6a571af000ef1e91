#pragma once
#include "Audio/CAudioModule.h"

namespace orl {

// The smoothed level of one channel: the square of the input through one pole (type 0) or two
// poles in a row (type 1), then the square root, kept above zero by a small floor so that the
// logarithm of the gain computer stays finite. Slot 0 is `freq` (Hz), slot 1 `type`.
class CModRMSModule : public CAudioModule {
public:
    static constexpr double kFloor = 1e-15;
    static constexpr double kDefaultFreq = 100.0;

    CModRMSModule() { m_paramCount = 2; }
    void resetState() override;
    void update() override;
    void process();

    double coeff() const { return m_coeff; }
    bool isTwoPole() const { return m_routine == &CModRMSModule::runTwoPoles; }
    // The accumulators z1 (0) and z2 (1), for tests.
    double accumulator(int32_t i) const { return i == 0 ? m_z1 : m_z2; }

private:
    void runOnePole(const double* in, double* out, int32_t count);
    void runTwoPoles(const double* in, double* out, int32_t count);

    double m_coeff = 0.0;
    // The accumulators carry over from block to block; only resetState clears them.
    double m_z1 = 0.0;
    double m_z2 = 0.0;
    void (CModRMSModule::*m_routine)(const double*, double*, int32_t) = &CModRMSModule::runOnePole;
};

}  // namespace orl
