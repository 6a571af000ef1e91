#pragma once
#include <cstdint>

#include "Core/CObject.h"

namespace orl {

// `core:timer`: fires the event `tick` periodically on the thread that owns the object, to drive
// animation and meters. Attributes: `fps` (ticks per second, 0.001 to 1000), `interval` (seconds,
// at least 0.001) and `is-high-precision`.
//
// A high-precision timer runs on the process-wide timer queue, whose thread posts `sys-tick` to
// the object's owner thread; that runs the `tick` handlers. A tick is posted only once the one
// before has been handled, and a slow handler makes as many ticks drop as intervals it took, so
// that load cannot pile up. A low-precision timer is paced by the same queue but delivered through
// the run loop of the thread that started it, with at most one tick waiting there, and fires
// `tick` bridged.
class CTimerQueued : public CObject {
public:
    // Message number of a low-precision tick in a run loop.
    static constexpr uint32_t kLowPrecisionTickMessage = 0x0113;
    // A tick that was posted but never handled (its message got lost) no longer holds up the
    // next one after this long.
    static constexpr double kRepostSeconds = 2.0;

    // The pacing rule of high-precision ticks, kept under the timer's lock.
    class CTickGate {
    public:
        // On the timer thread, at counter time now: true when this tick is to be posted.
        bool admit(int64_t now, double counterFrequency);
        // On the owner thread once the handlers of a tick ran from started to finished.
        void finish(int64_t started, int64_t finished, double intervalSeconds, double counterFrequency);
        void reset();
        bool isReady() const { return m_ready; }
        int32_t skipCount() const { return m_skip; }

    private:
        bool m_ready = true;
        int64_t m_lastPost = 0;
        int32_t m_skip = 0;
    };

    CTimerQueued();
    ~CTimerQueued() override;

    static void fillDescriptors(CClassDescriptors& descriptors);
    // Registers the tag; called by the library as it loads and safe to call again.
    static bool ensureCreatorsRegistered();

    static double clampFps(double fps);
    static double clampInterval(double seconds);
    // True when the two differ by more than the rounding error of doubles of their size.
    static bool intervalChanged(double oldSeconds, double newSeconds);

    // Setting a value restarts the timer only when it really changes it.
    CError* setInterval(double seconds);
    CError* setFps(double fps);
    CError* setHighPrecision(bool highPrecision);
    // Stops any running timer and starts one with the current settings (none for an interval of 0).
    CError* initTimer();
    void stopTimer();

    double interval() const { return m_interval; }
    bool isStarted() const { return m_started; }
    bool isHighPrecision() const { return m_highPrecision; }
    // The queue's handle of the running timer, new for every start; 0 when stopped.
    uint64_t timerHandle() const { return m_queueHandle; }

    // What the timer thread does on a high-precision tick, at counter time now; true when a
    // `sys-tick` was posted. Lets tests drive the pacing rule with a clock of their own.
    bool queueTick(int64_t now);
    // The pacing state as it is now.
    CTickGate gate() const;

private:
    struct CShared;
    static bool tickFromQueue(CShared* shared, int64_t now);
    static void onQueueTimer(void* context);
    static void releaseShared(void* context);
    static void onLowPrecisionTimer(void* context);
    static void onLowPrecisionMessage(void* context, uint32_t message, uint64_t param);
    static CError* onSysTick(CObject* object);
    static CError* onFps(CObject* object, CAttrValue& value);
    static CError* onInterval(CObject* object, CAttrValue& value);
    static CError* onHighPrecision(CObject* object, CAttrValue& value);

    double m_interval = 0.0;
    bool m_started = false;
    uint64_t m_queueHandle = 0;
    // Shared with the timer thread, which may still run a callback after the timer was deleted.
    CShared* m_shared;
    uint64_t m_lowPrecisionId = 0;
    bool m_highPrecision = false;
};

}  // namespace orl
