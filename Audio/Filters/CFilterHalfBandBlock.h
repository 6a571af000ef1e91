#pragma once
#include <cstdint>

namespace orl {

// Coefficients and state of one half-band filter. Each signal of a branch (the input, then the
// output of each section) keeps its last four samples in a ring indexed by the sample number
// modulo 4, so that x[n-1] and x[n-2] are found in place and nothing is copied per sample.
// ringA[0] is the input, shared by both branches.
struct CFilterHalfBandBlock {
    static constexpr int32_t kMaxSections = 8;
    int32_t sections;  // per branch, 1 to 8
    int32_t pos;       // ring slot of the next sample
    double a[kMaxSections];
    double b[kMaxSections];
    double ringA[kMaxSections + 1][4];
    double ringB[kMaxSections + 1][4];  // ringB[0] unused
};

}  // namespace orl
