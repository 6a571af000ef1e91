#pragma once
#include <atomic>
#include <cstdint>

#include "Core/CString.h"
#include "Platform/CEvent.h"

namespace orl {

class CError;

// A thread of the operating system behind an object: a derived class puts its work in run(),
// and runThread/stopThread start and end it. The event is auto-reset: stopThread sets it so that
// a run() that waits on it wakes up and sees the stop request; derived classes may use it as
// their own wake-up signal too.
//
// A derived class whose run() uses its own members must call stopThread() in its own destructor:
// by the time ~CThread runs, those members are gone.
class CThread {
public:
    CThread();
    virtual ~CThread();
    CThread(const CThread&) = delete;
    CThread& operator=(const CThread&) = delete;

    // The thread's work; an error it returns is shown as an error of last resort.
    virtual CError* run() = 0;

    // Starts the thread. With timeCritical it asks for real-time scheduling and carries on at the
    // normal priority when the system refuses. Fails when the thread runs already or cannot be made.
    CError* runThread(bool timeCritical);
    // Asks the thread to stop and waits for it to end. Does nothing when it isn't running. On the
    // thread itself it only asks, since a thread cannot wait for its own end.
    void stopThread();

    bool isRunning() const { return m_running.load(std::memory_order_acquire); }
    bool isStopRequested() const { return m_stopRequested.load(std::memory_order_acquire); }
    // The system's id of the thread; valid from runThread's return until stopThread.
    uint32_t threadId() const { return m_threadId.load(std::memory_order_acquire); }
    CEvent& event() { return m_stopEvent; }

    // A name makes the thread known in the process-wide map (and to debuggers); set it before
    // runThread.
    void setName(const CString& name) { m_name = name; }
    const CString& name() const { return m_name; }
    // The name of a running thread of this class by id; empty when it has none.
    static CString nameOf(uint32_t threadId);

private:
    static void* entry(void* self);

    std::atomic<uint32_t> m_threadId{0};
    CEvent m_stopEvent;
    // The system handle (a pthread_t), kept as an integer so that this header needs no system header.
    uint64_t m_handle = 0;
    std::atomic<bool> m_running{false};
    std::atomic<bool> m_stopRequested{false};
    CString m_name;
    CEvent m_started;
};

}  // namespace orl
