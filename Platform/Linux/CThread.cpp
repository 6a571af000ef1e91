#include "Platform/CThread.h"

#include <pthread.h>
#include <sched.h>

#include "Core/CError.h"
#include "Core/CMap.h"
#include "Core/CSystem.h"
#include "Platform/CCriticalSection.h"
#include "Platform/CPlatformClock.h"

namespace orl {

namespace {

static_assert(sizeof(pthread_t) <= sizeof(uint64_t), "thread handle does not fit");

// Names of the running threads that have one, by thread id.
struct CThreadNames {
    CCriticalSection lock;
    CMap<uint32_t, CString> names;
};

CThreadNames& threadNames() {
    // Never destroyed: threads may still end while the process exits.
    static auto* names = new CThreadNames();
    return *names;
}

pthread_t handleOf(uint64_t handle) { return static_cast<pthread_t>(handle); }

}  // namespace

CThread::CThread() : m_stopEvent(false, false), m_started(false, false) {}

CThread::~CThread() { stopThread(); }

CString CThread::nameOf(uint32_t threadId) {
    CThreadNames& t = threadNames();
    CCriticalSectionLock hold(t.lock);
    auto it = t.names.find(threadId);
    return it == t.names.end() ? CString() : it->second;
}

void* CThread::entry(void* self) {
    auto* thread = static_cast<CThread*>(self);
    thread->m_threadId.store(CPlatformClock::currentThreadId(), std::memory_order_release);
    if (!thread->m_name.isEmpty()) {
        // The system keeps at most 15 characters of a thread's name.
        CString shortName = thread->m_name.narrowed().substring(0, 15);
        pthread_setname_np(pthread_self(), shortName.c8());
    }
    thread->m_started.set();
    if (CError* err = thread->run()) CSystem::showError(err);
    return nullptr;
}

CError* CThread::runThread(bool timeCritical) {
    if (isRunning()) return ORL_ERROR(nullptr, m_name, "@orlstr_CThread_runThread_AlreadyRunning Thread is already running.");
    m_running.store(true, std::memory_order_release);
    m_stopRequested.store(false, std::memory_order_release);
    m_stopEvent.reset();
    pthread_t handle;
    const int rc = pthread_create(&handle, nullptr, &CThread::entry, this);
    if (rc != 0) {
        m_running.store(false, std::memory_order_release);
        return ORL_ERROR(nullptr, m_name, "@orlstr_CThread_runThread_createThreadError Thread creation error %1.",
                         CString::fromInt(rc));
    }
    m_handle = static_cast<uint64_t>(handle);
    if (timeCritical) {
        // Real-time scheduling needs a privilege that a plug-in's host seldom has; without it the
        // thread keeps the normal priority, which is what the caller gets anywhere else too.
        sched_param param{};
        param.sched_priority = sched_get_priority_max(SCHED_FIFO);
        (void)pthread_setschedparam(handle, SCHED_FIFO, &param);
    }
    // Waiting for the thread to report its id makes threadId() valid on return.
    m_started.wait(CEvent::kInfinite);
    if (!m_name.isEmpty()) {
        CThreadNames& t = threadNames();
        CCriticalSectionLock hold(t.lock);
        t.names[threadId()] = m_name;
    }
    return nullptr;
}

void CThread::stopThread() {
    if (!isRunning()) return;
    m_stopRequested.store(true, std::memory_order_release);
    m_stopEvent.set();
    if (pthread_equal(pthread_self(), handleOf(m_handle))) return;
    pthread_join(handleOf(m_handle), nullptr);
    m_handle = 0;
    if (!m_name.isEmpty()) {
        CThreadNames& t = threadNames();
        CCriticalSectionLock hold(t.lock);
        t.names.erase(threadId());
    }
    m_threadId.store(0, std::memory_order_release);
    m_running.store(false, std::memory_order_release);
}

}  // namespace orl
