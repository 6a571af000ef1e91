#pragma once
#include <cstdint>

#include "Audio/CAudioModule.h"

namespace orl {

class CAudioVizCollector;
class CAudioVizDataMeter;
class CAudioVizEntry;

// The frame base of the modules that measure for the displays: it cuts the blocks into frames of
// `frameLength` samples, runs the derived module's chunk routine over each piece, and at each
// frame end sends one record, dated at the middle of the frame, to the instance's
// visualisation collector. The module has no outputs: what it measures leaves as records only.
//
// The collector is the one attached to the graph's parameter host
// (CAudioVizCollector::forHost); a graph without one measures and sends nothing anywhere.
//
// `fps`: a non-empty attribute of the definition fixes the frame rate (unreadable text gives
// 30); otherwise the rate that the displays last asked for is read again at every frame end.
class CVizFrameModule : public CAudioModule {
public:
    static constexpr int32_t kMinFrameLength = 32;
    static constexpr double kFallbackFps = 30.0;

    void connectPorts() override;
    void resetState() override;

    // The frame loop, run by the terminal for each block.
    void process();

    // round(sampleRate / fps), made even, at least 32 samples.
    static int32_t frameLengthFor(double sampleRate, double fps);

    int32_t frameLength() const { return m_frameLength; }
    double fps() const { return m_fps; }
    bool isFpsFixed() const { return m_fpsFixed; }
    double streamTime() const { return m_streamTime; }
    CAudioVizEntry* collectorEntry() const { return m_collectorEntry; }

protected:
    // Runs over count samples of the block from offset.
    virtual void runChunk(int32_t offset, int32_t count) = 0;
    // Fills the two values of the frame's record.
    virtual void fillRecord(CAudioVizDataMeter& record) = 0;

    // The node's rate: a module that joins a crossfade is connected before it learns the rate.
    double rate() const;
    void restartFrame();

    double m_fps = kFallbackFps;
    bool m_fpsFixed = false;
    int32_t m_frameLength = 0;
    int32_t m_frameLeft = 0;
    int32_t m_blockOffset = 0;
    int32_t m_chunkLength = 0;
    double m_streamTime = 0.0;
    CAudioVizCollector* m_collector = nullptr;
    CAudioVizEntry* m_collectorEntry = nullptr;

private:
    void refreshFps();
    void sendRecord();

    double m_frameRate = 0.0;
};

}  // namespace orl
