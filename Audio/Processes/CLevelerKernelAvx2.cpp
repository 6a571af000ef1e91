// The level detectors' loops for processors with AVX2 and FMA; the build gives this file
// -mavx2 -mfma.
#define ORL_KERNEL_NS leveler_avx2
#define ORL_KERNEL_NAME "avx2"
#include "Audio/Processes/CLevelerKernelBody.h"
