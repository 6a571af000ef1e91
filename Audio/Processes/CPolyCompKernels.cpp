#include "Audio/Processes/CPolyCompKernels.h"


#include "Audio/Processes/CPolyCompTables.h"
#include "Platform/CCpuFeatures.h"

namespace orl {

namespace polycomp_plain {
extern const CPolyCompKernels kTable;
}
namespace polycomp_avx2 {
extern const CPolyCompKernels kTable;
}

const CPolyCompKernels& CPolyCompKernels::plain() {
    (void)CPolyCompTables::get();
    return polycomp_plain::kTable;
}

const CPolyCompKernels* CPolyCompKernels::avx2() {
    (void)CPolyCompTables::get();
    return CCpuFeatures::hasAVX2() && CCpuFeatures::hasFMA() ? &polycomp_avx2::kTable : nullptr;
}

const CPolyCompKernels& CPolyCompKernels::get() {
    static const CPolyCompKernels& chosen = CCpuFeatures::useAvx2Kernels() ? *avx2() : plain();
    return chosen;
}

namespace {
// Tables and the choice are made while the library loads, not on the first audio block.
[[maybe_unused]] const CPolyCompKernels& g_polyCompKernels = CPolyCompKernels::get();
}  // namespace

}  // namespace orl
