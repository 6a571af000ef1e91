// The gain computer's kernels for processors with AVX2 and FMA; the build gives this file
// -mavx2 -mfma.
#define ORL_POLYCOMP_NS polycomp_avx2
#define ORL_POLYCOMP_NAME "avx2"
#include "Audio/Processes/CPolyCompKernelBody.h"
