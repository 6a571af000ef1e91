#pragma once

namespace orl {

// Instruction-set extensions of the processor, read once and then answered from memory, so
// that kernels can be chosen at start without repeated queries.
class CCpuFeatures {
public:
    static bool hasAVX2();
    static bool hasFMA();
};

}  // namespace orl
