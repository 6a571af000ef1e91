#include "Audio/Processes/CPolyCompKernels.h"

#include <cstdlib>

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
    // Chosen once, the same way as the general kernels: ORL_FORCE_PLAIN=1 in the environment
    // keeps the plain build so that both can be measured on one machine.
    static const CPolyCompKernels& chosen = []() -> const CPolyCompKernels& {
        const char* force = std::getenv("ORL_FORCE_PLAIN");
        const bool forcePlain = force && force[0] == '1' && force[1] == '\0';
        const CPolyCompKernels* fast = avx2();
        return fast && !forcePlain ? *fast : plain();
    }();
    return chosen;
}

namespace {
// Tables and the choice are made while the library loads, not on the first audio block.
[[maybe_unused]] const CPolyCompKernels& g_polyCompKernels = CPolyCompKernels::get();
}  // namespace

}  // namespace orl
