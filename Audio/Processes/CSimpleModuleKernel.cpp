#include "Audio/Processes/CSimpleModuleKernel.h"

#include "Platform/CCpuFeatures.h"

namespace orl {

namespace simple_plain {
extern const CSimpleModuleKernel kSimpleModuleTable;
}
namespace simple_avx2 {
extern const CSimpleModuleKernel kSimpleModuleTable;
}

const CSimpleModuleKernel& CSimpleModuleKernel::plain() { return simple_plain::kSimpleModuleTable; }

const CSimpleModuleKernel* CSimpleModuleKernel::avx2() {
    return CCpuFeatures::hasAVX2() && CCpuFeatures::hasFMA() ? &simple_avx2::kSimpleModuleTable : nullptr;
}

const CSimpleModuleKernel& CSimpleModuleKernel::get() {
    static const CSimpleModuleKernel& chosen = CCpuFeatures::useAvx2Kernels() ? *avx2() : plain();
    return chosen;
}

}  // namespace orl
