#include "Platform/CEvent.h"
#include <pthread.h>
#include <time.h>
#include <cerrno>
#include <new>

namespace orl {

namespace {

struct SEventObjects {
    pthread_mutex_t mutex;
    pthread_cond_t cond;
};

SEventObjects* objectsOf(unsigned char* storage) {
    return std::launder(reinterpret_cast<SEventObjects*>(storage));
}

}  // namespace

CEvent::CEvent(bool manualReset, bool initiallySet) : m_manualReset(manualReset), m_set(initiallySet) {
    static_assert(sizeof(SEventObjects) <= sizeof(m_storage), "event storage too small");
    static_assert(alignof(SEventObjects) <= 16, "event storage under-aligned");
    SEventObjects* o = new (m_storage) SEventObjects;
    pthread_mutex_init(&o->mutex, nullptr);
    // Timeouts are measured on the monotonic clock so that a change of wall-clock time cannot
    // stretch or cut short a wait.
    pthread_condattr_t attr;
    pthread_condattr_init(&attr);
    pthread_condattr_setclock(&attr, CLOCK_MONOTONIC);
    pthread_cond_init(&o->cond, &attr);
    pthread_condattr_destroy(&attr);
}

CEvent::~CEvent() {
    SEventObjects* o = objectsOf(m_storage);
    pthread_cond_destroy(&o->cond);
    pthread_mutex_destroy(&o->mutex);
}

void CEvent::set() {
    SEventObjects* o = objectsOf(m_storage);
    pthread_mutex_lock(&o->mutex);
    m_set = true;
    if (m_manualReset)
        pthread_cond_broadcast(&o->cond);
    else
        pthread_cond_signal(&o->cond);
    pthread_mutex_unlock(&o->mutex);
}

void CEvent::reset() {
    SEventObjects* o = objectsOf(m_storage);
    pthread_mutex_lock(&o->mutex);
    m_set = false;
    pthread_mutex_unlock(&o->mutex);
}

bool CEvent::wait(uint32_t timeoutMs) {
    SEventObjects* o = objectsOf(m_storage);
    pthread_mutex_lock(&o->mutex);
    if (timeoutMs == kInfinite) {
        while (!m_set) pthread_cond_wait(&o->cond, &o->mutex);
    } else if (!m_set && timeoutMs > 0) {
        timespec deadline;
        clock_gettime(CLOCK_MONOTONIC, &deadline);
        deadline.tv_sec += timeoutMs / 1000;
        deadline.tv_nsec += static_cast<long>(timeoutMs % 1000) * 1000000L;
        if (deadline.tv_nsec >= 1000000000L) {
            deadline.tv_sec += 1;
            deadline.tv_nsec -= 1000000000L;
        }
        // Spurious wake-ups and wake-ups that lose the race to another waiter loop back.
        while (!m_set) {
            if (pthread_cond_timedwait(&o->cond, &o->mutex, &deadline) == ETIMEDOUT) break;
        }
    }
    const bool signalled = m_set;
    if (signalled && !m_manualReset) m_set = false;
    pthread_mutex_unlock(&o->mutex);
    return signalled;
}

}  // namespace orl
