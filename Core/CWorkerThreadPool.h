#pragma once
#include <atomic>
#include <cstdint>

#include "Core/CArray.h"
#include "Platform/CCriticalSection.h"
#include "Platform/CEvent.h"

namespace orl {

class CError;
class CPersistentThread;
class CWorkerThread;

// Runs jobs on persistent threads. Threads that a pool no longer needs go to a process-wide idle
// list, from which every pool takes first, so that the pools of several windows share threads.
// The pool owns the jobs it was given and deletes them once they have finished.
class CWorkerThreadPool {
public:
    CWorkerThreadPool();
    // Waits for the jobs still running.
    ~CWorkerThreadPool();
    CWorkerThreadPool(const CWorkerThreadPool&) = delete;
    CWorkerThreadPool& operator=(const CWorkerThreadPool&) = delete;

    // Runs the job on an idle thread, or on a new one started with timeCritical. The pool owns
    // the job from now on, also when starting fails.
    CError* start(CWorkerThread* job, bool timeCritical);
    // Blocks until every job has finished; logs and deletes their errors, deletes the jobs and
    // gives the threads back to the idle list.
    void wait();
    // Does not block: gives the threads whose jobs have finished back to the idle list, so that
    // the next start may use one, and returns how many are still busy. Finished jobs are deleted
    // after their errors are logged; with keepErrors they are handed to the caller in finished
    // instead (when given), result and all.
    int32_t poll(bool keepErrors, CArray<CWorkerThread*>* finished = nullptr);

    int32_t threadCount() const;
    // Threads in the process-wide idle list.
    static int32_t idleCount();

    // From a thread of this pool when its job has ended.
    void threadFinished(CPersistentThread* thread);

private:
    static CPersistentThread* takeIdle();
    static void giveIdle(CPersistentThread* thread);
    static void logAndRelease(CWorkerThread* job);
    void enterLock();

    mutable CCriticalSection m_lock;
    CArray<CPersistentThread*> m_threads;
    CEvent m_event;
    bool m_waiting = false;
};

}  // namespace orl
