#pragma once

// The element-wise loop shape that the kernel bodies share. Groups of four: four results, then
// four stores, then a scalar tail. At the project's -O2 the compiler leaves a plain loop of
// unknown length scalar but turns such a group into one or two vector operations. Since all
// four results are formed before any store, dst may be one of the sources.
//
// STEP(k) defines `r##k` from element i + k of the inputs; the result goes to dst[i + k].
#define ORL_BY_FOUR(count, STEP)                            \
    int32_t i = 0;                                          \
    for (; i + 4 <= (count); i += 4) {                      \
        STEP(0) STEP(1) STEP(2) STEP(3)                     \
        ORL_STORE(0) ORL_STORE(1) ORL_STORE(2) ORL_STORE(3) \
    }                                                       \
    for (; i < (count); ++i) {                              \
        STEP(0) ORL_STORE(0)                                \
    }
#define ORL_STORE(k) dst[i + k] = r##k;
