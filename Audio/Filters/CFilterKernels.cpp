#include "Audio/Filters/CFilterKernels.h"

#include "Platform/CCpuFeatures.h"

namespace orl {

namespace filter_kernels_plain {
extern const CFilterKernels kTable;
}
namespace filter_kernels_avx2 {
extern const CFilterKernels kTable;
}

const CFilterKernels& CFilterKernels::plain() { return filter_kernels_plain::kTable; }

const CFilterKernels* CFilterKernels::avx2() {
    return CCpuFeatures::hasAVX2() && CCpuFeatures::hasFMA() ? &filter_kernels_avx2::kTable : nullptr;
}

const CFilterKernels& CFilterKernels::get() {
    static const CFilterKernels& chosen = CCpuFeatures::useAvx2Kernels() ? *avx2() : plain();
    return chosen;
}

}  // namespace orl
