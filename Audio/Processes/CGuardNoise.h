#pragma once
#include <cstdint>

namespace orl {

// What muted and silent outputs carry instead of zeros: a sign sequence of +-1e-11 (about
// -220 dBFS) from a 32-bit linear congruential generator. A stage downstream never sees an exact
// zero and so never divides by one or takes its logarithm, and the level stays far below
// anything audible. Each owner has its own state, which survives resets: the sequence only needs
// to stay non-zero.
class CGuardNoise {
public:
    // 0x800000 * kScale is 2e-11, so each sample is kScale * (0 or 0x800000) - 1e-11.
    static constexpr double kScale = 2.384185791015625e-18;
    static constexpr double kOffset = 1e-11;

    double next() {
        m_state = m_state * 30013u + 30011u;  // wraps modulo 2^32
        return static_cast<double>(m_state & 0x800000u) * kScale - kOffset;
    }
    void fill(double* out, int32_t count) {
        for (int32_t i = 0; i < count; ++i) out[i] = next();
    }
    uint32_t state() const { return m_state; }

private:
    uint32_t m_state = 0;
};

}  // namespace orl
