#include "Platform/CCriticalSection.h"
#include <pthread.h>
#include <new>

namespace orl {

namespace {

pthread_mutex_t* mutexOf(unsigned char* storage) {
    return std::launder(reinterpret_cast<pthread_mutex_t*>(storage));
}

inline void cpuRelax() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#endif
}

}  // namespace

CCriticalSection::CCriticalSection(uint32_t spinCount, bool recursive) : m_spinCount(spinCount) {
    static_assert(sizeof(pthread_mutex_t) <= sizeof(m_storage), "lock storage too small");
    static_assert(alignof(pthread_mutex_t) <= 16, "lock storage under-aligned");
    pthread_mutexattr_t attr;
    pthread_mutexattr_init(&attr);
    pthread_mutexattr_settype(&attr, recursive ? PTHREAD_MUTEX_RECURSIVE : PTHREAD_MUTEX_NORMAL);
    pthread_mutex_t* mutex = new (m_storage) pthread_mutex_t;
    pthread_mutex_init(mutex, &attr);
    pthread_mutexattr_destroy(&attr);
}

CCriticalSection::~CCriticalSection() { pthread_mutex_destroy(mutexOf(m_storage)); }

void CCriticalSection::enter() {
    pthread_mutex_t* mutex = mutexOf(m_storage);
    for (uint32_t i = 0; i < m_spinCount; ++i) {
        if (pthread_mutex_trylock(mutex) == 0) return;
        cpuRelax();
    }
    pthread_mutex_lock(mutex);
}

bool CCriticalSection::tryEnter() { return pthread_mutex_trylock(mutexOf(m_storage)) == 0; }

void CCriticalSection::leave() { pthread_mutex_unlock(mutexOf(m_storage)); }

}  // namespace orl
