#include "Platform/CTimerQueue.h"

#include "Core/CError.h"
#include "Platform/CPlatformClock.h"
#include "Platform/CThread.h"

namespace orl {

// The queue's thread: sleeps on its event until the next timer is due or the set of timers changed.
class CTimerThread : public CThread {
public:
    explicit CTimerThread(CTimerQueue* queue) : m_queue(queue) { setName(CString("orl timer queue")); }
    ~CTimerThread() override { stopThread(); }
    CError* run() override {
        while (!isStopRequested()) event().wait(m_queue->runDue());
        return nullptr;
    }

private:
    CTimerQueue* m_queue;
};

namespace {
constexpr int64_t kNanosPerMs = 1000000;
}

CTimerQueue* CTimerQueue::instance() {
    // Made once and never destroyed: timers may be deleted from static destructors at exit.
    static CTimerQueue* queue = [] {
        auto* q = new CTimerQueue();
        q->m_thread = new CTimerThread(q);
        if (CError* err = q->m_thread->runThread(false)) {
            logError(err);
            deleteError(err);
            delete q->m_thread;
            delete q;
            return static_cast<CTimerQueue*>(nullptr);
        }
        return q;
    }();
    return queue;
}

bool CTimerQueue::createTimer(uint64_t& outHandle, TCallback callback, TRelease release, void* context,
                              uint32_t dueMs, uint32_t periodMs, int32_t& errorCode) {
    if (!callback) {
        errorCode = 22;  // EINVAL
        return false;
    }
    {
        CCriticalSectionLock hold(m_lock);
        outHandle = m_nextHandle++;
        CTimer& t = m_timers[outHandle];
        t.callback = callback;
        t.release = release;
        t.context = context;
        t.due = CPlatformClock::counter() + static_cast<int64_t>(dueMs) * kNanosPerMs;
        t.period = static_cast<int64_t>(periodMs) * kNanosPerMs;
        t.running = false;
        t.deleted = false;
    }
    m_thread->event().set();
    errorCode = 0;
    return true;
}

void CTimerQueue::deleteTimer(uint64_t handle) {
    TRelease release = nullptr;
    void* context = nullptr;
    {
        CCriticalSectionLock hold(m_lock);
        auto it = m_timers.find(handle);
        if (it == m_timers.end() || it->second.deleted) return;
        if (it->second.running) {
            // The timer thread releases it when the callback returns.
            it->second.deleted = true;
            return;
        }
        release = it->second.release;
        context = it->second.context;
        m_timers.erase(it);
    }
    if (release) release(context);
}

int32_t CTimerQueue::timerCount() const {
    CCriticalSectionLock hold(m_lock);
    int32_t n = 0;
    for (const auto& [handle, timer] : m_timers) n += timer.deleted ? 0 : 1;
    return n;
}

uint32_t CTimerQueue::runDue() {
    for (;;) {
        uint64_t handle = 0;
        CTimer run{};
        int64_t next = -1;
        {
            CCriticalSectionLock hold(m_lock);
            const int64_t now = CPlatformClock::counter();
            for (auto& [h, t] : m_timers) {
                if (t.deleted) continue;
                if (t.due <= now) {
                    handle = h;
                    run = t;
                    t.running = true;
                    // Ticks missed while late are dropped, not run in a burst.
                    if (t.period > 0) {
                        t.due += t.period;
                        if (t.due <= now) t.due = now + t.period;
                    } else {
                        t.deleted = true;
                    }
                    break;
                }
                if (next < 0 || t.due < next) next = t.due;
            }
            if (handle == 0) {
                if (next < 0) return CEvent::kInfinite;
                const int64_t waitNs = next - now;
                return static_cast<uint32_t>((waitNs + kNanosPerMs - 1) / kNanosPerMs);
            }
        }
        run.callback(run.context);
        TRelease release = nullptr;
        {
            CCriticalSectionLock hold(m_lock);
            auto it = m_timers.find(handle);
            if (it != m_timers.end()) {
                it->second.running = false;
                if (it->second.deleted) {
                    release = it->second.release;
                    m_timers.erase(it);
                }
            }
        }
        if (release) release(run.context);
    }
}

}  // namespace orl
