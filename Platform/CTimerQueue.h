#pragma once
#include <cstdint>

#include "Core/CMap.h"
#include "Platform/CCriticalSection.h"

namespace orl {

class CTimerThread;

// The process-wide timer queue: one thread that runs the callbacks of periodic timers. A callback
// runs on that thread and should be short, since it holds up every other timer while it runs.
//
// Deleting a timer does not wait for a callback that is running: instead the timer's release
// function is called once no callback of it can run any more, either at once by deleteTimer or on
// the timer thread when the running callback returns. A context is therefore freed by release and
// by nothing else.
class CTimerQueue {
public:
    using TCallback = void (*)(void* context);
    using TRelease = void (*)(void* context);

    // The queue, started on first use; null when its thread cannot be started.
    static CTimerQueue* instance();

    // A timer that first runs after dueMs and then every periodMs (0: once). A tick that comes
    // while the thread is late is not made up for. False (with the system's error number) on
    // failure, in which case release is not called.
    bool createTimer(uint64_t& outHandle, TCallback callback, TRelease release, void* context, uint32_t dueMs,
                     uint32_t periodMs, int32_t& errorCode);
    // Takes the timer out; unknown handles are ignored. Never waits for a running callback.
    void deleteTimer(uint64_t handle);
    int32_t timerCount() const;

private:
    friend class CTimerThread;
    struct CTimer {
        TCallback callback;
        TRelease release;
        void* context;
        int64_t due;     // counter time of the next run
        int64_t period;  // counter units; 0 runs once
        bool running;
        bool deleted;
    };

    CTimerQueue() = default;
    // On the timer thread: runs what is due and tells how long to sleep.
    uint32_t runDue();

    mutable CCriticalSection m_lock;
    CMap<uint64_t, CTimer> m_timers;
    uint64_t m_nextHandle = 1;
    CTimerThread* m_thread = nullptr;
};

}  // namespace orl
