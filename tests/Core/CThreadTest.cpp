#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <fstream>
#include <mutex>
#include <set>
#include <sstream>
#include <string>
#include <thread>

#include "Core/CError.h"
#include "Core/CLog.h"
#include "Core/CSystem.h"
#include "Core/CWorkerThread.h"
#include "Core/CWorkerThreadPool.h"
#include "Platform/CPlatformClock.h"
#include "Platform/CRunLoop.h"
#include "Platform/CThread.h"
#include "tests/Support/CTestText.h"

using namespace orl;

namespace {

using test::str;

std::mutex g_shownLock;
std::string g_shown;
void captureDisplay(const CString&, const CString&, const CString& details) {
    std::lock_guard<std::mutex> hold(g_shownLock);
    g_shown = str(details);
}

// Sleeps on its event until asked to stop, then returns an error if told to.
class CSleeper : public CThread {
public:
    ~CSleeper() override { stopThread(); }
    CError* run() override {
        seenId = CPlatformClock::currentThreadId();
        while (!isStopRequested()) event().wait(CEvent::kInfinite);
        return failOnStop ? ORL_ERROR(nullptr, name(), "Sleeper failed.") : nullptr;
    }
    std::atomic<uint32_t> seenId{0};
    bool failOnStop = false;
};

// A job that records the thread it ran on and may fail or block until released.
class CJob : public CWorkerThread {
public:
    CJob(std::atomic<int>* ran, std::atomic<int>* deletedWithResult, bool fail, CEvent* gate = nullptr)
        : m_ran(ran), m_deletedWithResult(deletedWithResult), m_fail(fail), m_gate(gate) {}
    ~CJob() override {
        if (result()) ++*m_deletedWithResult;
    }
    CError* run() override {
        if (m_gate) m_gate->wait(CEvent::kInfinite);
        thread = CPlatformClock::currentThreadId();
        ++*m_ran;
        return m_fail ? ORL_ERROR(nullptr, CString("job"), "Job failed on purpose.") : nullptr;
    }
    uint32_t thread = 0;

private:
    std::atomic<int>* m_ran;
    std::atomic<int>* m_deletedWithResult;
    bool m_fail;
    CEvent* m_gate;
};

std::string readFile(const std::string& path) {
    std::ifstream in(path);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

}  // namespace

TEST(CThreadTest, LifecycleNamesAndErrors) {
    CSystem::TErrorDisplay previous = CSystem::setErrorDisplay(&captureDisplay);
    {
        CSleeper t;
        t.setName(CString("sleeper thread"));
        ASSERT_EQ(t.runThread(true), nullptr);  // a refused real-time priority is not an error
        EXPECT_TRUE(t.isRunning());
        EXPECT_NE(t.threadId(), 0u);
        EXPECT_EQ(t.threadId(), t.seenId.load());
        EXPECT_NE(t.threadId(), CPlatformClock::currentThreadId());
        EXPECT_EQ(str(CThread::nameOf(t.threadId())), "sleeper thread");

        CError* again = t.runThread(false);
        ASSERT_NE(again, nullptr);
        EXPECT_NE(str(again->text()).find("Thread is already running."), std::string::npos);
        deleteError(again);

        const uint32_t id = t.threadId();
        t.failOnStop = true;
        testing::internal::CaptureStderr();
        t.stopThread();
        const std::string err = testing::internal::GetCapturedStderr();
        EXPECT_FALSE(t.isRunning());
        EXPECT_EQ(str(CThread::nameOf(id)), "");
        // The error run() returned went to the error of last resort.
        EXPECT_NE(err.find("Sleeper failed."), std::string::npos);
        EXPECT_NE(g_shown.find("Sleeper failed."), std::string::npos);

        // A stopped thread starts again; the destructor stops it.
        t.failOnStop = false;
        ASSERT_EQ(t.runThread(false), nullptr);
        EXPECT_TRUE(t.isRunning());
    }
    // An unnamed thread stays out of the map.
    CSleeper u;
    ASSERT_EQ(u.runThread(false), nullptr);
    EXPECT_EQ(str(CThread::nameOf(u.threadId())), "");
    u.stopThread();
    u.stopThread();  // a second stop does nothing
    CSystem::setErrorDisplay(previous);
}

TEST(CThreadTest, PoolRunsJobsLogsErrorsAndReusesThreads) {
    const std::string logPath = ::testing::TempDir() + "orl_thread_pool_test.log";
    CLog::setPath(logPath.c_str());
    std::atomic<int> ran{0}, deletedWithResult{0};
    std::set<uint32_t> firstThreads;
    {
        CWorkerThreadPool pool;
        for (int i = 0; i < 6; ++i) ASSERT_EQ(pool.start(new CJob(&ran, &deletedWithResult, i % 2 == 0), false), nullptr);
        EXPECT_EQ(pool.threadCount(), 6);
        pool.wait();
        EXPECT_EQ(ran, 6);
        EXPECT_EQ(pool.threadCount(), 0);
        // wait() took each error out of its job before deleting the job.
        EXPECT_EQ(deletedWithResult, 0);
    }
    CLog::setPath("");
    const std::string log = readFile(logPath);
    std::remove(logPath.c_str());
    size_t failures = 0;
    for (size_t at = log.find("Job failed on purpose."); at != std::string::npos;
         at = log.find("Job failed on purpose.", at + 1))
        ++failures;
    EXPECT_EQ(failures, 3u);

    // The six threads went to the idle list; a second pool takes from it instead of making new ones.
    const int32_t idleBefore = CWorkerThreadPool::idleCount();
    ASSERT_GE(idleBefore, 6);
    {
        CWorkerThreadPool pool;
        auto* job = new CJob(&ran, &deletedWithResult, false);
        ASSERT_EQ(pool.start(job, true), nullptr);
        EXPECT_EQ(CWorkerThreadPool::idleCount(), idleBefore - 1);
        pool.wait();
        EXPECT_EQ(CWorkerThreadPool::idleCount(), idleBefore);
    }
    EXPECT_EQ(ran, 7);
}

TEST(CThreadTest, PollHandsBackFinishedJobsWithoutBlocking) {
    std::atomic<int> ran{0}, deletedWithResult{0};
    CEvent gate(true, false);
    CWorkerThreadPool pool;
    auto* blocked = new CJob(&ran, &deletedWithResult, true, &gate);
    ASSERT_EQ(pool.start(blocked, false), nullptr);
    CArray<CWorkerThread*> finished;
    EXPECT_EQ(pool.poll(true, &finished), 1);
    EXPECT_EQ(finished.count(), 0);
    gate.set();
    int busy = 1;
    for (int i = 0; i < 5000 && busy > 0; ++i) {
        busy = pool.poll(true, &finished);
        if (busy > 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    ASSERT_EQ(busy, 0);
    ASSERT_EQ(finished.count(), 1);
    EXPECT_EQ(finished[0], blocked);
    ASSERT_NE(blocked->result(), nullptr);  // kept for the caller
    EXPECT_NE(str(blocked->result()->text()).find("Job failed on purpose."), std::string::npos);
    delete blocked;
    EXPECT_EQ(deletedWithResult, 1);
    EXPECT_EQ(pool.threadCount(), 0);
}

namespace {
std::string g_title, g_caption;
void captureAll(const CString& title, const CString& caption, const CString& details) {
    g_title = str(title);
    g_caption = str(caption);
    std::lock_guard<std::mutex> hold(g_shownLock);
    g_shown = str(details);
}
}  // namespace

TEST(CSystemTest, ShowErrorAndPostMessage) {
    CSystem::TErrorDisplay previous = CSystem::setErrorDisplay(&captureAll);
    testing::internal::CaptureStderr();
    CSystem::showError(new CError());
    std::string err = testing::internal::GetCapturedStderr();
    EXPECT_EQ(g_shown, "<no details>");
    EXPECT_EQ(g_title, "Application Message");
    EXPECT_EQ(g_caption.rfind("An issue has happened when executing the vendor's application.\n\n", 0), 0u);
    EXPECT_NE(err.find("<no details>"), std::string::npos);

    CError* two = new CError();
    two->addLine(CString("first"));
    two->addLine(CString("second"));
    testing::internal::CaptureStderr();
    CSystem::showError(two);
    err = testing::internal::GetCapturedStderr();
    EXPECT_EQ(g_shown, "first\nsecond");
    EXPECT_NE(err.find("first\nsecond"), std::string::npos);
    CSystem::setErrorDisplay(previous);

    // A message reaches its loop; a stopped loop refuses it with the post error.
    CRunLoop loop;
    int seen = 0;
    auto handler = [](void* c, uint32_t message, uint64_t param) {
        *static_cast<int*>(c) = static_cast<int>(message + param);
    };
    ASSERT_EQ(CSystem::postMessage(&loop, handler, &seen, 5120, 3), nullptr);
    EXPECT_EQ(loop.runPending(), 1);
    EXPECT_EQ(seen, 5123);
    loop.stop();
    CError* refused = CSystem::postMessage(&loop, handler, &seen, 5120, 3);
    ASSERT_NE(refused, nullptr);
    EXPECT_EQ(str(refused->line(0)), "Post message error stopped.");
    deleteError(refused);
}
