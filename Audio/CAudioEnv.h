#pragma once
#include <atomic>
#include <cstdint>

#include "Core/CObject.h"
#include "Platform/CCriticalSection.h"

namespace orl {

// The running state of one plug-in instance that the audio thread and the threads around it
// share (tag "audio:env", the object `plugin.audio-env`): whether blocks are running, the
// sample rate, the latency reported to the host, the stream time and the end time of the coming
// block. The fields are read and written under the environment lock.
//
// The audio thread owns the lock for a few pointer moves once a block, so anybody who needs it
// spins on try-enter instead of sleeping in the kernel (enterSpinning).
class CAudioEnv : public CObject {
public:
    CAudioEnv();

    CCriticalSection& lock() { return m_lock; }
    // Tries to enter the lock until it succeeds; never blocks in the kernel.
    void enterSpinning() { enterSpinning(m_lock); }
    // The same for any section that the audio thread may have to wait for.
    static void enterSpinning(CCriticalSection& section);
    void leave() { m_lock.leave(); }

    // ---- under the lock ----
    bool isStarted() const { return m_started; }
    void setStarted(bool started) { m_started = started; }
    double sampleRate() const { return m_sampleRate; }
    void setSampleRate(double rate) { m_sampleRate = rate; }
    uint32_t latency() const { return m_latency; }
    void setLatency(uint32_t samples) { m_latency = samples; }
    double streamTime() const { return m_streamTime; }
    void setStreamTime(double seconds) { m_streamTime = seconds; }
    double blockEndTime() const { return m_blockEndTime; }
    void setBlockEndTime(double seconds) { m_blockEndTime = seconds; }
    // The rate of visualisation records that the displays last asked for, per second.
    double wantedVizRate() const { return m_wantedVizRate; }
    void setWantedVizRate(double perSecond) { m_wantedVizRate = perSecond; }

    // ---- the audio thread's copy of the wanted rate, taken over at a block start ----
    // Read by the meters at each frame end without the lock.
    double blockVizRate() const { return m_blockVizRate.load(std::memory_order_relaxed); }
    void setBlockVizRate(double perSecond) { m_blockVizRate.store(perSecond, std::memory_order_relaxed); }

private:
    CCriticalSection m_lock;
    bool m_started = false;
    double m_sampleRate = 0.0;
    uint32_t m_latency = 0;
    double m_streamTime = 0.0;
    double m_blockEndTime = 0.0;
    // Until a display asks, the rate of a display that draws at the usual frame rate.
    double m_wantedVizRate = 30.0;
    std::atomic<double> m_blockVizRate{30.0};
};

}  // namespace orl
