#include "Core/CTimerQueued.h"

#include <atomic>
#include <cmath>
#include <thread>

#include "Core/CError.h"
#include "Core/CObjectEventBridge.h"
#include "Platform/CCriticalSection.h"
#include "Platform/CPlatformClock.h"
#include "Platform/CRunLoop.h"
#include "Platform/CTimerQueue.h"

namespace orl {

// The part of a timer that the timer thread touches. The object and every queue timer started
// for it hold a reference; `alive` goes false when the object goes, so that a callback still
// running after its timer was deleted finds nothing to post to.
struct CTimerQueued::CShared {
    CCriticalSection lock;
    std::atomic<int32_t> references{1};
    CTickGate gate;
    bool alive = true;
    // What a post of `sys-tick` needs, taken on the owner thread when the timer starts: the timer
    // thread must not read the object's attributes while the owner may be changing them.
    CObjectEventBridge* bridge = nullptr;
    CString fullName;
    int32_t objectId = -1;
};

namespace {

constexpr double kMinFps = 0.001;
constexpr double kMaxFps = 1000.0;
constexpr double kMinInterval = 0.001;
// A timer callback tries the lock this often before it lets the tick go: the shared timer thread
// must never wait on an owner that holds the lock.
constexpr int kLockTries = 1000;

double counterFrequency() {
    static const double frequency = [] {
        double f = 0.0;
        return CPlatformClock::frequency(f) && f > 0.0 ? f : 1e9;
    }();
    return frequency;
}

// Low-precision timers by id, with the run loop that delivers their ticks.
struct CLowPrecisionEntry {
    CTimerQueued* timer;
    CRunLoop* loop;
    bool pending;
};

struct CLowPrecisionTimers {
    CCriticalSection lock;
    CMap<uint64_t, CLowPrecisionEntry> timers;
    uint64_t nextId = 1;
};

CLowPrecisionTimers& lowPrecisionTimers() {
    static auto* timers = new CLowPrecisionTimers();
    return *timers;
}

void logAndDelete(CError* err) {
    if (!err) return;
    logError(err);
    deleteError(err);
}

const CCreatorRow kTimerCreators[] = {
    {"core:timer", &createObjectOf<CTimerQueued>, &CTimerQueued::fillDescriptors},
    {nullptr, nullptr, nullptr},
};

}  // namespace

bool CTimerQueued::CTickGate::admit(int64_t now, double frequency) {
    if (!m_ready && static_cast<double>(now - m_lastPost) < kRepostSeconds * frequency) return false;
    if (m_skip > 0) {
        --m_skip;
        return false;
    }
    m_ready = false;
    m_lastPost = now;
    return true;
}

void CTimerQueued::CTickGate::finish(int64_t started, int64_t finished, double intervalSeconds, double frequency) {
    m_ready = true;
    if (intervalSeconds <= 0.0) return;
    const double seconds = static_cast<double>(finished - started) / frequency;
    m_skip = static_cast<int32_t>(std::floor(seconds / intervalSeconds));
}

void CTimerQueued::CTickGate::reset() {
    m_ready = true;
    m_skip = 0;
}

CTimerQueued::CTimerQueued() : m_shared(new CShared()) {}

CTimerQueued::~CTimerQueued() {
    stopTimer();
    {
        CCriticalSectionLock hold(m_shared->lock);
        m_shared->alive = false;
        m_shared->bridge = nullptr;
    }
    releaseShared(m_shared);
}

void CTimerQueued::fillDescriptors(CClassDescriptors& descriptors) {
    CObject::fillDescriptors(descriptors);
    descriptors.attrHandlers[CString("fps")] = &onFps;
    descriptors.attrHandlers[CString("interval")] = &onInterval;
    descriptors.attrHandlers[CString("is-high-precision")] = &onHighPrecision;
    CEventEntry sysTick;
    sysTick.proc = &onSysTick;
    descriptors.events[CString("sys-tick")] = sysTick;
}

bool CTimerQueued::ensureCreatorsRegistered() {
    static const bool registered = registerCreatorTable(kTimerCreators);
    return registered;
}

namespace {
[[maybe_unused]] const bool g_timerRegistered = CTimerQueued::ensureCreatorsRegistered();
}

double CTimerQueued::clampFps(double fps) {
    if (!(fps >= kMinFps)) return kMinFps;  // NaN too
    return fps > kMaxFps ? kMaxFps : fps;
}

double CTimerQueued::clampInterval(double seconds) { return seconds >= kMinInterval ? seconds : kMinInterval; }

bool CTimerQueued::intervalChanged(double oldSeconds, double newSeconds) {
    return std::fabs(newSeconds - oldSeconds) > 2.220446049250313e-16 * (std::fabs(newSeconds) + std::fabs(oldSeconds));
}

CError* CTimerQueued::setInterval(double seconds) {
    const double interval = clampInterval(seconds);
    if (!intervalChanged(m_interval, interval)) return nullptr;
    m_interval = interval;
    CError* err = initTimer();
    return err ? ORL_PASS(err, fullName()) : nullptr;
}

CError* CTimerQueued::setFps(double fps) {
    CError* err = setInterval(1.0 / clampFps(fps));
    return err ? ORL_PASS(err, fullName()) : nullptr;
}

CError* CTimerQueued::setHighPrecision(bool highPrecision) {
    if (highPrecision == m_highPrecision) return nullptr;
    m_highPrecision = highPrecision;
    if (!m_started) return nullptr;
    CError* err = initTimer();
    return err ? ORL_PASS(err, fullName()) : nullptr;
}

CError* CTimerQueued::initTimer() {
    stopTimer();
    if (m_interval <= 0.0) return nullptr;
    const double ms = std::round(m_interval * 1000.0);
    const uint32_t periodMs = ms < 1.0 ? 1u : (ms > 4e9 ? 4000000000u : static_cast<uint32_t>(ms));
    CTimerQueue* queue = CTimerQueue::instance();
    int32_t code = 0;
    if (m_highPrecision) {
        if (!queue)
            return ORL_ERROR(nullptr, fullName(), "@orlstr_CTimerQueued_initTimer_createTimerQueue Timer queue creation error.");
        {
            CCriticalSectionLock hold(m_shared->lock);
            m_shared->gate.reset();
            m_shared->bridge = ownerBridge(nullptr);
            m_shared->fullName = fullName();
            m_shared->objectId = objectId();
        }
        m_shared->references.fetch_add(1, std::memory_order_relaxed);
        if (!queue->createTimer(m_queueHandle, &onQueueTimer, &releaseShared, m_shared, periodMs, periodMs, code)) {
            releaseShared(m_shared);
            m_queueHandle = 0;
            return ORL_ERROR(nullptr, fullName(), "@orlstr_CTimerQueued_initTimer_createTimer Timer creation error %1.",
                             CString::fromInt(code));
        }
        m_started = true;
        return nullptr;
    }
    if (!queue)
        return ORL_ERROR(nullptr, fullName(), "@orlstr_CTimerQueued_initTimer_createTimerHWND Timer creation error %1.",
                         CString("no timer queue"));
    CLowPrecisionTimers& timers = lowPrecisionTimers();
    {
        CCriticalSectionLock hold(timers.lock);
        m_lowPrecisionId = timers.nextId++;
        timers.timers[m_lowPrecisionId] = CLowPrecisionEntry{this, CRunLoop::current(), false};
    }
    void* context = reinterpret_cast<void*>(static_cast<uintptr_t>(m_lowPrecisionId));
    if (!queue->createTimer(m_queueHandle, &onLowPrecisionTimer, nullptr, context, periodMs, periodMs, code)) {
        CCriticalSectionLock hold(timers.lock);
        timers.timers.erase(m_lowPrecisionId);
        m_lowPrecisionId = 0;
        m_queueHandle = 0;
        return ORL_ERROR(nullptr, fullName(), "@orlstr_CTimerQueued_initTimer_createTimerHWND Timer creation error %1.",
                         CString::fromInt(code));
    }
    m_started = true;
    return nullptr;
}

void CTimerQueued::stopTimer() {
    if (!m_started) return;
    // Does not wait for a callback that is running now: it holds its own reference to the shared
    // part, and a low-precision callback finds its id gone.
    if (CTimerQueue* queue = CTimerQueue::instance()) queue->deleteTimer(m_queueHandle);
    if (m_lowPrecisionId != 0) {
        CLowPrecisionTimers& timers = lowPrecisionTimers();
        CCriticalSectionLock hold(timers.lock);
        timers.timers.erase(m_lowPrecisionId);
        m_lowPrecisionId = 0;
    }
    m_queueHandle = 0;
    m_started = false;
}

CTimerQueued::CTickGate CTimerQueued::gate() const {
    CCriticalSectionLock hold(m_shared->lock);
    return m_shared->gate;
}

bool CTimerQueued::queueTick(int64_t now) { return tickFromQueue(m_shared, now); }

bool CTimerQueued::tickFromQueue(CShared* shared, int64_t now) {
    int tries = 0;
    while (!shared->lock.tryEnter()) {
        if (++tries >= kLockTries) return false;
        std::this_thread::yield();
    }
    if (!shared->alive || !shared->gate.admit(now, counterFrequency())) {
        shared->lock.leave();
        return false;
    }
    // The same post as CObject::postEvent with sender "timer", from the values taken at start.
    // The lock stays held across the post: it is what keeps the object, and so its bridge, alive.
    bool posted = false;
    if (shared->bridge) {
        CAttrMap params;
        params[CString("sender")].setString(CString("timer"));
        params[CString("listener")].setString(shared->fullName);
        params[CString("listener-id")].setInt(shared->objectId);
        params[CString("listener-proc")].setString(CString("sys-tick"));
        CError* err = shared->bridge->post(params);
        posted = err == nullptr;
        logAndDelete(err);
    }
    shared->lock.leave();
    return posted;
}

void CTimerQueued::onQueueTimer(void* context) {
    tickFromQueue(static_cast<CShared*>(context), CPlatformClock::counter());
}

void CTimerQueued::releaseShared(void* context) {
    auto* shared = static_cast<CShared*>(context);
    if (shared->references.fetch_sub(1, std::memory_order_acq_rel) == 1) delete shared;
}

CError* CTimerQueued::onSysTick(CObject* object) {
    auto* timer = static_cast<CTimerQueued*>(object);
    const int64_t started = CPlatformClock::counter();
    logAndDelete(timer->fireEvent(CString("tick")));
    const int64_t finished = CPlatformClock::counter();
    CCriticalSectionLock hold(timer->m_shared->lock);
    timer->m_shared->gate.finish(started, finished, timer->m_interval, counterFrequency());
    return nullptr;
}

void CTimerQueued::onLowPrecisionTimer(void* context) {
    const auto id = static_cast<uint64_t>(reinterpret_cast<uintptr_t>(context));
    CLowPrecisionTimers& timers = lowPrecisionTimers();
    CCriticalSectionLock hold(timers.lock);
    auto it = timers.timers.find(id);
    // Like a system's timer message, a tick waits in the loop at most once.
    if (it == timers.timers.end() || it->second.pending) return;
    it->second.pending =
        it->second.loop->post(&CTimerQueued::onLowPrecisionMessage, nullptr, kLowPrecisionTickMessage, id);
}

void CTimerQueued::onLowPrecisionMessage(void*, uint32_t message, uint64_t id) {
    if (message != kLowPrecisionTickMessage) return;
    CTimerQueued* timer = nullptr;
    {
        CLowPrecisionTimers& timers = lowPrecisionTimers();
        CCriticalSectionLock hold(timers.lock);
        auto it = timers.timers.find(id);
        if (it == timers.timers.end()) return;
        it->second.pending = false;
        timer = it->second.timer;
    }
    // The timer is deleted only on this thread, so it is still there outside the lock.
    logAndDelete(timer->fireEvent(CString("tick"), true));
}

CError* CTimerQueued::onFps(CObject* object, CAttrValue& value) {
    return static_cast<CTimerQueued*>(object)->setFps(value.getDouble());
}

CError* CTimerQueued::onInterval(CObject* object, CAttrValue& value) {
    return static_cast<CTimerQueued*>(object)->setInterval(value.getDouble());
}

CError* CTimerQueued::onHighPrecision(CObject* object, CAttrValue& value) {
    return static_cast<CTimerQueued*>(object)->setHighPrecision(value.getBool());
}

}  // namespace orl
