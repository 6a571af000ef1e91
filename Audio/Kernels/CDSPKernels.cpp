#include "Audio/Kernels/CDSPKernels.h"

#include <cmath>
#include <numbers>

#include "Platform/CCpuFeatures.h"

namespace orl {

namespace kernels_plain {
extern const CDSPKernels kTable;
}
namespace kernels_avx2 {
extern const CDSPKernels kTable;
}

void CRaisedCosine::start(int32_t length) {
    if (length <= 0) {
        // No fade: the weight sits at the far end from the first sample on.
        current = -0.5;
        previous = -0.5;
        twoCosW = 2.0;
        return;
    }
    const double c = std::cos(std::numbers::pi / length);
    current = 0.5;
    previous = 0.5 * c;
    twoCosW = 2.0 * c;
}

const CDSPKernels& CDSPKernels::plain() { return kernels_plain::kTable; }

const CDSPKernels* CDSPKernels::avx2() {
    return CCpuFeatures::hasAVX2() && CCpuFeatures::hasFMA() ? &kernels_avx2::kTable : nullptr;
}

const CDSPKernels& CDSPKernels::get() {
    static const CDSPKernels& chosen = CCpuFeatures::useAvx2Kernels() ? *avx2() : plain();
    return chosen;
}

}  // namespace orl
