#pragma once
#include <atomic>

#include "Platform/CThread.h"

namespace orl {

class CWorkerThread;
class CWorkerThreadPool;

// A thread that lives across many jobs: it sleeps on its event, runs the job it was handed, keeps
// the job's result in the job, marks itself idle and tells a waiting pool.
class CPersistentThread : public CThread {
public:
    CPersistentThread() = default;
    ~CPersistentThread() override;

    CError* run() override;

    // Hands a job to this idle thread and wakes it. The pool hears of the end through its event.
    void startJob(CWorkerThread* job, CWorkerThreadPool* pool);
    bool isBusy() const { return m_busy.load(std::memory_order_acquire); }
    // Called by the pool, under its lock, when the job has ended.
    void markIdle() { m_busy.store(false, std::memory_order_release); }
    // The job last handed over; read it only while the thread is idle.
    CWorkerThread* job() const { return m_job; }
    void clearJob() { m_job = nullptr; }

    // Link of the process-wide list of idle threads.
    CPersistentThread* nextIdle = nullptr;

private:
    CWorkerThread* m_job = nullptr;
    CWorkerThreadPool* m_pool = nullptr;
    std::atomic<bool> m_busy{false};
};

}  // namespace orl
