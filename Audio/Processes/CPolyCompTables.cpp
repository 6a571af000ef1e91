#include "Audio/Processes/CPolyCompTables.h"

#include <cmath>
#include <cstring>

namespace orl {

namespace {

CPolyCompTables build() {
    CPolyCompTables t{};
    for (int32_t i = 0; i < CPolyCompTables::kLogSize; ++i) {
        const uint64_t lowBits = CPolyCompTables::kLogOffset + (static_cast<uint64_t>(i) << (52 - CPolyCompTables::kLogBits));
        const uint64_t highBits = lowBits + (1ull << (52 - CPolyCompTables::kLogBits));
        double low, high;
        std::memcpy(&low, &lowBits, sizeof low);
        std::memcpy(&high, &highBits, sizeof high);
        const long double centre = 0.5L * (static_cast<long double>(low) + static_cast<long double>(high));
        const double invC = static_cast<double>(1.0L / centre);
        t.log[i].invC = invC;
        // From the rounded reciprocal, so that ln(m) = ln(m * invC) + logC holds without a
        // second rounding error.
        t.log[i].logC = static_cast<double>(-std::log(static_cast<long double>(invC)));
    }
    for (int32_t j = 0; j < CPolyCompTables::kExpSize; ++j) {
        const double v = static_cast<double>(std::exp2(static_cast<long double>(j) / CPolyCompTables::kExpSize));
        std::memcpy(&t.exp2Bits[j], &v, sizeof v);
    }
    return t;
}

}  // namespace

const CPolyCompTables& CPolyCompTables::get() {
    static const CPolyCompTables tables = build();
    return tables;
}

}  // namespace orl
