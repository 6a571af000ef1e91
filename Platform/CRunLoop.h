#pragma once
#include <cstdint>

#include "Core/CArray.h"
#include "Platform/CCriticalSection.h"
#include "Platform/CEvent.h"

namespace orl {

// A thread's message loop: other threads post messages to it, and the owning thread runs them
// in the order of posting. It stands in for posting a message to a hidden window.
class CRunLoop {
public:
    using THandler = void (*)(void* context, uint32_t message, uint64_t param);

    CRunLoop();
    ~CRunLoop();
    CRunLoop(const CRunLoop&) = delete;
    CRunLoop& operator=(const CRunLoop&) = delete;

    // The loop of the calling thread, made on first use and ended with the thread.
    static CRunLoop* current();

    uint32_t ownerThread() const { return m_owner; }
    // From any thread. False when the loop was stopped.
    bool post(THandler handler, void* context, uint32_t message, uint64_t param);
    // On the owning thread: runs messages until none is left, including those posted meanwhile;
    // returns how many.
    int32_t runPending();
    // From any thread: how many messages wait now.
    int32_t pendingCount();
    // Waits up to timeoutMs for a message, then runs what is there. False on time-out or stop.
    bool waitAndRun(uint32_t timeoutMs);
    // Runs messages until stop() is called.
    void run();
    // From any thread: run() returns, posts are refused from now on.
    void stop();

private:
    struct CMessage {
        THandler handler;
        void* context;
        uint32_t message;
        uint64_t param;
    };

    CCriticalSection m_lock;
    CEvent m_wake;
    CArray<CMessage, 16> m_queue;
    uint32_t m_owner;
    bool m_stopped = false;
};

}  // namespace orl
