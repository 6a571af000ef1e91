#pragma once
#include <cstdint>
#include <random>
#include <vector>

namespace orl::test {

// A reproducible test signal: n samples, uniform between lo and hi, from a seeded generator.
inline std::vector<double> uniformNoise(size_t n, uint32_t seed, double lo = -1.0, double hi = 1.0) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> d(lo, hi);
    std::vector<double> v(n);
    for (double& x : v) x = d(rng);
    return v;
}

}  // namespace orl::test
