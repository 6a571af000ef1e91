#pragma once

namespace orl {

// Instruction-set extensions of the processor, read once and then answered from memory, so
// that kernels can be chosen at start without repeated queries.
class CCpuFeatures {
public:
    static bool hasAVX2();
    static bool hasFMA();
    // Whether hot loops run their AVX2+FMA build: the processor has both, and the environment
    // doesn't ask for the plain build (ORL_FORCE_PLAIN=1, for measuring both on one machine).
    // Decided once for the process, so that every table of kernels makes the same choice.
    static bool useAvx2Kernels();
};

}  // namespace orl
