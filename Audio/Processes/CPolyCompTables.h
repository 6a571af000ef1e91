#pragma once
#include <cstdint>

namespace orl {

// Tables of the short-latency natural log and exponential that the fast form of the gain
// computer uses. Built once from extended-precision values, shared by both kernel builds.
struct CPolyCompTables {
    static constexpr int32_t kLogBits = 7;
    static constexpr int32_t kLogSize = 1 << kLogBits;
    static constexpr int32_t kExpBits = 7;
    static constexpr int32_t kExpSize = 1 << kExpBits;
    // A mantissa m in [0.6875, 1.375) falls into one of kLogSize equal parts of the bit pattern;
    // each part has a point c near its middle: ln(m) = ln(m * invC) - ln(invC), with m * invC
    // within 2^-8 of 1.
    static constexpr uint64_t kLogOffset = 0x3FE6000000000000ull;

    struct CLogEntry {
        double invC;
        double logC;  // -ln(invC)
    };
    CLogEntry log[kLogSize];
    // Bit patterns of 2^(j / kExpSize).
    uint64_t exp2Bits[kExpSize];

    // Built on first use; CPolyCompKernels::get() makes that happen at start.
    static const CPolyCompTables& get();
};

}  // namespace orl
