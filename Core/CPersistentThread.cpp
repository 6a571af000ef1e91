#include "Core/CPersistentThread.h"

#include "Core/CWorkerThread.h"
#include "Core/CWorkerThreadPool.h"

namespace orl {

CPersistentThread::~CPersistentThread() { stopThread(); }

void CPersistentThread::startJob(CWorkerThread* job, CWorkerThreadPool* pool) {
    m_job = job;
    m_pool = pool;
    m_busy.store(true, std::memory_order_release);
    event().set();
}

CError* CPersistentThread::run() {
    for (;;) {
        event().wait(CEvent::kInfinite);
        if (isStopRequested()) return nullptr;
        if (!isBusy()) continue;  // a wake-up without a job
        CWorkerThread* job = m_job;
        job->setResult(job->run());
        // Idle is marked under the pool's lock: once the pool sees this thread idle it may be
        // deleted, so the thread has to be done with the pool by then.
        m_pool->threadFinished(this);
    }
}

}  // namespace orl
