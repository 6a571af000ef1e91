#include "Audio/Processes/CLevelerKernel.h"


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
    static const CLevelerKernel& chosen = CCpuFeatures::useAvx2Kernels() ? *avx2() : plain();
    return chosen;
}

}  // namespace orl
