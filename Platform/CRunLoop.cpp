#include "Platform/CRunLoop.h"

#include <memory>

#include "Platform/CPlatformClock.h"

namespace orl {

namespace {
thread_local std::unique_ptr<CRunLoop> t_loop;
}

CRunLoop::CRunLoop() : m_lock(2000, false), m_wake(false, false), m_owner(CPlatformClock::currentThreadId()) {}

CRunLoop::~CRunLoop() = default;

CRunLoop* CRunLoop::current() {
    if (!t_loop) t_loop = std::make_unique<CRunLoop>();
    return t_loop.get();
}

bool CRunLoop::post(THandler handler, void* context, uint32_t message, uint64_t param) {
    m_lock.enter();
    const bool accepted = !m_stopped;
    if (accepted) m_queue.add(CMessage{handler, context, message, param});
    m_lock.leave();
    if (accepted) m_wake.set();
    return accepted;
}

int32_t CRunLoop::runPending() {
    // Messages are taken one at a time, so that a handler may post again and stop the loop.
    int32_t ran = 0;
    for (;;) {
        m_lock.enter();
        if (m_queue.count() == 0) {
            m_lock.leave();
            return ran;
        }
        const CMessage m = m_queue[0];
        m_queue.removeAt(0);
        m_lock.leave();
        m.handler(m.context, m.message, m.param);
        ++ran;
    }
}

int32_t CRunLoop::pendingCount() {
    CCriticalSectionLock hold(m_lock);
    return m_queue.count();
}

bool CRunLoop::waitAndRun(uint32_t timeoutMs) {
    if (runPending() > 0) return true;
    if (!m_wake.wait(timeoutMs)) return false;
    runPending();
    m_lock.enter();
    const bool stopped = m_stopped;
    m_lock.leave();
    return !stopped;
}

void CRunLoop::run() {
    for (;;) {
        runPending();
        m_lock.enter();
        const bool stopped = m_stopped;
        m_lock.leave();
        if (stopped) return;
        m_wake.wait(CEvent::kInfinite);
    }
}

void CRunLoop::stop() {
    m_lock.enter();
    m_stopped = true;
    m_lock.leave();
    m_wake.set();
}

}  // namespace orl
