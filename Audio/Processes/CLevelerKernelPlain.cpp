// The level detectors' loops for any x86-64 processor (SSE2).
#define ORL_KERNEL_NS leveler_plain
#define ORL_KERNEL_NAME "plain"
#include "Audio/Processes/CLevelerKernelBody.h"
