#include "Tools/render/CDemoSignal.h"

#include <cmath>
#include <cstdint>

namespace orl {

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kRate = 48000.0;
constexpr double kBeat = 0.5;  // seconds per beat at 120 BPM

// A small linear congruential generator: the same noise on every run and every machine.
struct CNoise {
    uint32_t state = 22222u;
    double next() {
        state = state * 1664525u + 1013904223u;
        return static_cast<double>(state >> 8) / 8388608.0 - 1.0;
    }
};

}  // namespace

CSoundFile CDemoSignal::make(double seconds) {
    CSoundFile out;
    out.sampleRate = kRate;
    const size_t n = static_cast<size_t>(std::lround(seconds * kRate));
    out.channels.assign(2, std::vector<float>(n));
    // Bass notes, one per beat: A1, A1, C2, G1 (in Hz).
    const double notes[4] = {55.0, 55.0, 65.41, 49.0};
    CNoise noise;
    double kickPhase = 0.0, bassPhase = 0.0, lowpass = 0.0;
    for (size_t i = 0; i < n; ++i) {
        const double t = static_cast<double>(i) / kRate;
        const double inBeat = std::fmod(t, kBeat);
        const int beat = static_cast<int>(t / kBeat);
        // The second half is louder: the level drop of the compressor shows there.
        const double section = t < seconds / 2.0 ? 0.45 : 0.9;

        // Kick: a sine that falls from 150 Hz to 45 Hz under a fast decay.
        const double kickFreq = 45.0 + 105.0 * std::exp(-inBeat * 30.0);
        kickPhase += 2.0 * kPi * kickFreq / kRate;
        const double kick = std::sin(kickPhase) * std::exp(-inBeat * 9.0);

        // Bass: a softened saw on the beat's note, shortened to three quarters of the beat.
        bassPhase += notes[beat % 4] / kRate;
        bassPhase -= std::floor(bassPhase);
        const double saw = 2.0 * bassPhase - 1.0;
        lowpass += (saw - lowpass) * 0.05;
        const double bassGate = inBeat < 0.75 * kBeat ? 1.0 : std::exp(-(inBeat - 0.75 * kBeat) * 60.0);
        const double bass = lowpass * bassGate;

        // Noise bursts on the off-beats, a little wider in the right channel.
        const double offBeat = std::fmod(t + kBeat / 2.0, kBeat);
        const double burst = std::exp(-offBeat * 40.0);
        const double nl = noise.next() * burst, nr = noise.next() * burst;

        const double mono = 0.55 * kick + 0.35 * bass;
        out.channels[0][i] = static_cast<float>(section * (mono + 0.12 * nl));
        out.channels[1][i] = static_cast<float>(section * (mono + 0.12 * (0.7 * nl + 0.3 * nr)));
    }
    return out;
}

}  // namespace orl
