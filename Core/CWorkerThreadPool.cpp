#include "Core/CWorkerThreadPool.h"

#include <thread>
#include <utility>

#include "Core/CError.h"
#include "Core/CPersistentThread.h"
#include "Core/CWorkerThread.h"

namespace orl {

namespace {

// Threads that no pool uses, waiting for the next job; they end with the process.
struct CIdleThreads {
    CCriticalSection lock;
    CPersistentThread* head = nullptr;
    int32_t count = 0;
};

CIdleThreads& idleThreads() {
    static auto* idle = new CIdleThreads();
    return *idle;
}

}  // namespace

CWorkerThreadPool::CWorkerThreadPool() : m_event(false, false) {}

CWorkerThreadPool::~CWorkerThreadPool() { wait(); }

CPersistentThread* CWorkerThreadPool::takeIdle() {
    CIdleThreads& idle = idleThreads();
    CCriticalSectionLock hold(idle.lock);
    CPersistentThread* thread = idle.head;
    if (thread) {
        idle.head = thread->nextIdle;
        thread->nextIdle = nullptr;
        --idle.count;
    }
    return thread;
}

void CWorkerThreadPool::giveIdle(CPersistentThread* thread) {
    CIdleThreads& idle = idleThreads();
    CCriticalSectionLock hold(idle.lock);
    thread->nextIdle = idle.head;
    idle.head = thread;
    ++idle.count;
}

int32_t CWorkerThreadPool::idleCount() {
    CIdleThreads& idle = idleThreads();
    CCriticalSectionLock hold(idle.lock);
    return idle.count;
}

int32_t CWorkerThreadPool::threadCount() const {
    CCriticalSectionLock hold(m_lock);
    return m_threads.count();
}

void CWorkerThreadPool::enterLock() {
    // The pool's lock is taken by polling so that a waiting caller never sleeps in the lock
    // while a finishing thread would need it only for an instant.
    while (!m_lock.tryEnter()) std::this_thread::yield();
}

void CWorkerThreadPool::logAndRelease(CWorkerThread* job) {
    if (CError* err = job->takeResult()) {
        logError(err);
        deleteError(err);
    }
}

CError* CWorkerThreadPool::start(CWorkerThread* job, bool timeCritical) {
    CPersistentThread* thread = takeIdle();
    if (!thread) {
        thread = new CPersistentThread();
        thread->setName(CString("orl worker"));
        if (CError* err = thread->runThread(timeCritical)) {
            delete thread;
            delete job;
            return ORL_PASS(err, CString());
        }
    }
    enterLock();
    m_threads.add(thread);
    thread->startJob(job, this);
    m_lock.leave();
    return nullptr;
}

void CWorkerThreadPool::threadFinished(CPersistentThread* thread) {
    enterLock();
    thread->markIdle();
    if (m_waiting) {
        m_waiting = false;
        m_event.set();
    }
    m_lock.leave();
}

void CWorkerThreadPool::wait() {
    for (;;) {
        enterLock();
        int32_t busy = 0;
        for (int32_t i = 0; i < m_threads.count(); ++i) {
            CPersistentThread* thread = m_threads[i];
            if (thread->isBusy())
                ++busy;
            else if (thread->job())
                logAndRelease(thread->job());
        }
        if (busy == 0) break;
        m_waiting = true;
        m_lock.leave();
        m_event.wait(CEvent::kInfinite);
    }
    CArray<CPersistentThread*> threads(std::move(m_threads));
    m_lock.leave();
    for (int32_t i = 0; i < threads.count(); ++i) {
        delete threads[i]->job();
        threads[i]->clearJob();
        giveIdle(threads[i]);
    }
}

int32_t CWorkerThreadPool::poll(bool keepErrors, CArray<CWorkerThread*>* finished) {
    CArray<CPersistentThread*> done;
    enterLock();
    int32_t busy = 0;
    for (int32_t i = 0; i < m_threads.count();) {
        CPersistentThread* thread = m_threads[i];
        if (thread->isBusy()) {
            ++busy;
            ++i;
        } else {
            done.add(thread);
            m_threads.removeAt(i);
        }
    }
    m_lock.leave();
    for (int32_t i = 0; i < done.count(); ++i) {
        CWorkerThread* job = done[i]->job();
        done[i]->clearJob();
        if (keepErrors && finished) {
            finished->add(job);
        } else {
            if (!keepErrors) logAndRelease(job);
            delete job;
        }
        giveIdle(done[i]);
    }
    return busy;
}

}  // namespace orl
