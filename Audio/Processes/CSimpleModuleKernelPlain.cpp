// The small modules' loops for any x86-64 processor (SSE2).
#define ORL_KERNEL_NS simple_plain
#define ORL_KERNEL_NAME "plain"
#define ORL_KERNEL_TARGET
#include "Audio/Processes/CSimpleModuleKernelBody.h"
