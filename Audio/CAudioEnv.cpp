#include "Audio/CAudioEnv.h"

#include <sched.h>

namespace orl {

namespace {

inline void cpuRelax() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    asm volatile("yield");
#endif
}

}  // namespace

CAudioEnv::CAudioEnv() : m_lock(2000) {}

void CAudioEnv::enterSpinning(CCriticalSection& section) {
    // The holder is about to leave; after a long wait it has probably lost its time slice, and
    // giving ours up lets it finish (a yield returns at once when nobody else wants the core).
    for (uint32_t tries = 1; !section.tryEnter(); ++tries) {
        if (tries % 1024 == 0)
            sched_yield();
        else
            cpuRelax();
    }
}

}  // namespace orl
