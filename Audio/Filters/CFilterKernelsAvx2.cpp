// The filter loops for processors with AVX2 and FMA; the build gives this file -mavx2 -mfma.
#define ORL_FILTER_KERNEL_NS filter_kernels_avx2
#define ORL_FILTER_KERNEL_NAME "avx2"
#include "Audio/Filters/CFilterKernelsBody.h"
