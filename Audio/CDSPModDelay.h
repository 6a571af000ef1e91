#pragma once
#include <cstdint>

#include "Audio/Kernels/CDSPKernels.h"

namespace orl {

class CSampleBufferPool;
struct CSampleBuffer;

// Ring geometry and content of a delay line: equal blocks of doubles, each taken from the
// sample-buffer pool when first written. A block never written reads as the fill value, so a
// new or grown line costs no clearing.
//
// Positions run from 0 to blockSize * blockCount - 1; the block pointers themselves live in a
// pool buffer too, so that changing the geometry on the audio thread only recycles pool blocks.
class CDSPModDelayBase {
public:
    CDSPModDelayBase() = default;
    CDSPModDelayBase(const CDSPModDelayBase&) = delete;
    CDSPModDelayBase& operator=(const CDSPModDelayBase&) = delete;

    int32_t blockSize() const { return m_blockSize; }
    int32_t blockCount() const { return m_blockCount; }
    int32_t writePosition() const { return m_writePos; }
    double fillValue() const { return m_fill; }
    // Blocks taken from the pool for content (for tests).
    int32_t heldBlockCount() const;

protected:
    ~CDSPModDelayBase();

    // The block pointers of a geometry; null blocks read as the fill value.
    struct SRing {
        CSampleBuffer** blocks;
        int32_t blockSize;
        int32_t blockCount;
    };

    SRing ring() const;
    int32_t length() const { return m_blockSize * m_blockCount; }
    // Writes count samples at the write position and moves it on.
    void write(const double* in, int32_t count);
    // Reads count samples forward from ring position `position` (any integer, taken modulo the
    // length).
    void read(double* out, int64_t position, int32_t count) const;
    // Changes the geometry and keeps the most recent history that fits in it.
    void resize(int32_t blockSize, int32_t blockCount);
    // All content blocks back to the pool; the geometry stays.
    void releaseBlocks();

    CSampleBufferPool* m_pool = nullptr;
    const CDSPKernels* m_kernels = &CDSPKernels::get();
    CSampleBuffer* m_table = nullptr;  // pool buffer that holds m_blockCount block pointers
    int32_t m_blockSize = 1024;
    int32_t m_blockCount = 1;
    int32_t m_writePos = 0;
    double m_fill = 0.0;

private:
    bool ensureTable();
    CSampleBuffer* takeBlock();
    static bool anyWritten(const SRing& r, int64_t position, int32_t count);
    static void readFrom(const SRing& r, double fill, const CDSPKernels& k, double* out, int64_t position,
                         int32_t count);
    void resizeByBlocks(int32_t blockCount, CSampleBuffer* newTable);
    void resizeBySamples(int32_t blockSize, int32_t blockCount, CSampleBuffer* newTable);
};

// A delay line whose delay changes without a click: a change crossfades between the taps at the
// old and the new delay with raised-cosine weights over the transition length. One further
// change may wait behind a running transition; a newer one replaces it.
class CDSPModDelay : public CDSPModDelayBase {
public:
    CDSPModDelay() = default;
    CDSPModDelay(const CDSPModDelay&) = delete;
    CDSPModDelay& operator=(const CDSPModDelay&) = delete;
    ~CDSPModDelay();

    void setPool(CSampleBufferPool* pool);
    // Ring geometry: blocks of blockSize samples, (blockSize + maxDelay + 255) / blockSize of them.
    void setMaxDelay(int32_t maxDelay, int32_t blockSize);
    // A new delay in samples, reached over transitionLength samples (0: at once).
    void setDelay(int32_t delay, int32_t transitionLength);
    void setFillValue(double value);
    // Runs count samples; in and out may be the same buffer.
    void process(const double* in, double* out, int32_t count);
    // Forgets all content; the current delay becomes the target.
    void reset();

    int32_t delay() const;          // the delay now heard (the old one during a transition)
    int32_t targetDelay() const;    // where the running transition goes
    bool isTransitionRunning() const;
    // The change waiting behind the running transition, or -1.
    int32_t pendingDelay() const { return m_pending; }
    int32_t transitionSamplesLeft() const { return m_transitionLeft; }

private:
    static constexpr int32_t kChunk = 256;

    using Routine = void (CDSPModDelay::*)(double* out, int32_t count);
    void runSteady(double* out, int32_t count);
    void runTransition(double* out, int32_t count);
    void chooseRoutine();
    void startChange(int32_t delay, int32_t transitionLength);
    void finishTransition();
    void fitGeometry();
    int32_t blockCountFor(int32_t blockSize) const;

    int32_t m_maxDelay = 0;         // the floor given to setMaxDelay
    int32_t m_delay = 0;            // current
    int32_t m_target = 0;
    int32_t m_pending = -1;         // the one change held behind a running transition
    int32_t m_pendingLength = 0;
    int32_t m_transitionLength = 0;
    int32_t m_transitionLeft = 0;
    int64_t m_chunkStart = 0;       // write position at the start of the chunk being run
    CRaisedCosine m_fade;
    Routine m_run = &CDSPModDelay::runSteady;
};

}  // namespace orl
