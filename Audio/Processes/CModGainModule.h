#pragma once
#include <cstdint>

#include "Audio/CAudioModule.h"
#include "Audio/Processes/CGuardNoise.h"

namespace orl {

// A gain, a mute and a phase switch on one channel: out = g * in with g = +-gain. A gain of one
// within rounding passes the input on by reference; a muted channel carries guard noise, never
// exact zeros.
class CModGainModule : public CAudioModule {
public:
    enum EParam : int32_t { kGain, kMute, kPhaseInvert, kParamCount };
    static constexpr double kEps = 2.220446049250313e-16;

    CModGainModule() { m_paramCount = kParamCount; }

    void update() override;
    void process();

    double factor() const { return m_factor; }
    bool isMuted() const { return m_muted; }
    bool isIdle() const { return m_idle; }

private:
    CGuardNoise m_noise;
    double m_factor = 1.0;
    bool m_muted = false;
    bool m_idle = true;
};

}  // namespace orl
