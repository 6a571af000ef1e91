#include "Audio/Processes/CLevelerKernel.h"

#include <cstdlib>

#include "Platform/CCpuFeatures.h"

namespace orl {

namespace leveler_plain {
extern const CLevelerKernel kLevelerTable;
}
namespace leveler_avx2 {
extern const CLevelerKernel kLevelerTable;
}

const CLevelerKernel& CLevelerKernel::plain() { return leveler_plain::kLevelerTable; }

const CLevelerKernel* CLevelerKernel::avx2() {
    return CCpuFeatures::hasAVX2() && CCpuFeatures::hasFMA() ? &leveler_avx2::kLevelerTable : nullptr;
}

const CLevelerKernel& CLevelerKernel::get() {
    // Chosen once, with the same switch as the graph's own kernels, so that one environment
    // variable measures the whole plain build.
    static const CLevelerKernel& chosen = []() -> const CLevelerKernel& {
        const char* force = std::getenv("ORL_FORCE_PLAIN");
        const bool forcePlain = force && force[0] == '1' && force[1] == '\0';
        const CLevelerKernel* fast = avx2();
        return fast && !forcePlain ? *fast : plain();
    }();
    return chosen;
}

}  // namespace orl
