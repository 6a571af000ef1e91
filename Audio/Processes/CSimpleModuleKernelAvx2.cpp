// The small modules' loops for processors with AVX2 and FMA, chosen per function so that the
// file needs no options of its own.
#define ORL_KERNEL_NS simple_avx2
#define ORL_KERNEL_NAME "avx2"
#define ORL_KERNEL_TARGET __attribute__((target("avx2,fma")))
#include "Audio/Processes/CSimpleModuleKernelBody.h"
