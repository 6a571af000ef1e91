// The kernels for any x86-64 processor (SSE2).
#define ORL_KERNEL_NS kernels_plain
#define ORL_KERNEL_NAME "plain"
#include "Audio/Kernels/CDSPKernelsBody.h"
