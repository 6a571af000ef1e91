// The gain computer's kernels for any x86-64 processor (SSE2).
#define ORL_POLYCOMP_NS polycomp_plain
#define ORL_POLYCOMP_NAME "plain"
#include "Audio/Processes/CPolyCompKernelBody.h"
