// The filter loops for any x86-64 processor (SSE2).
#define ORL_FILTER_KERNEL_NS filter_kernels_plain
#define ORL_FILTER_KERNEL_NAME "plain"
#include "Audio/Filters/CFilterKernelsBody.h"
