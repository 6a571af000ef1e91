#include "Audio/CDSPModDelay.h"

#include <algorithm>
#include <cstdint>

#include "Audio/CSampleBufferPool.h"

namespace orl {

static_assert(sizeof(CSampleBuffer*) <= sizeof(double), "block pointers are kept in a sample buffer");

namespace {

CSampleBuffer** pointersOf(CSampleBuffer* table) { return reinterpret_cast<CSampleBuffer**>(table->data()); }

int32_t wrap(int64_t position, int64_t length) {
    const int64_t p = position % length;
    return static_cast<int32_t>(p < 0 ? p + length : p);
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// CDSPModDelayBase: the ring

CDSPModDelayBase::~CDSPModDelayBase() {
    releaseBlocks();
    if (m_table) CSampleBufferPool::release(m_table);
}

CDSPModDelayBase::SRing CDSPModDelayBase::ring() const {
    return {m_table ? pointersOf(m_table) : nullptr, m_blockSize, m_blockCount};
}

int32_t CDSPModDelayBase::heldBlockCount() const {
    if (!m_table) return 0;
    CSampleBuffer** blocks = pointersOf(m_table);
    return static_cast<int32_t>(std::count_if(blocks, blocks + m_blockCount, [](CSampleBuffer* b) { return b; }));
}

bool CDSPModDelayBase::ensureTable() {
    if (m_table) return true;
    if (!m_pool) return false;
    m_table = m_pool->acquire(m_blockCount);
    if (!m_table) return false;
    std::fill_n(pointersOf(m_table), m_blockCount, nullptr);
    return true;
}

CSampleBuffer* CDSPModDelayBase::takeBlock() { return m_pool ? m_pool->acquire(m_blockSize) : nullptr; }

void CDSPModDelayBase::releaseBlocks() {
    if (!m_table) return;
    CSampleBuffer** blocks = pointersOf(m_table);
    for (int32_t i = 0; i < m_blockCount; ++i) {
        if (blocks[i]) CSampleBufferPool::release(blocks[i]);
        blocks[i] = nullptr;
    }
}

void CDSPModDelayBase::write(const double* in, int32_t count) {
    if (!ensureTable()) return;  // without a pool nothing can be kept
    CSampleBuffer** blocks = pointersOf(m_table);
    int32_t pos = m_writePos;
    while (count > 0) {
        const int32_t b = pos / m_blockSize;
        const int32_t offset = pos - b * m_blockSize;
        const int32_t n = std::min(count, m_blockSize - offset);
        if (!blocks[b]) {
            // First write into this block: what this write does not cover must go on reading
            // as the fill value.
            blocks[b] = takeBlock();
            if (blocks[b]) {
                double* d = blocks[b]->data();
                m_kernels->fill(d, m_fill, offset);
                m_kernels->fill(d + offset + n, m_fill, m_blockSize - offset - n);
            }
        }
        if (blocks[b]) m_kernels->copy(blocks[b]->data() + offset, in, n);
        in += n;
        count -= n;
        pos += n;
        if (pos == length()) pos = 0;
    }
    m_writePos = pos;
}

void CDSPModDelayBase::readFrom(const SRing& r, double fill, const CDSPKernels& k, double* out, int64_t position,
                                int32_t count) {
    const int32_t length = r.blockSize * r.blockCount;
    int32_t pos = wrap(position, length);
    while (count > 0) {
        const int32_t b = pos / r.blockSize;
        const int32_t offset = pos - b * r.blockSize;
        const int32_t n = std::min(count, r.blockSize - offset);
        const CSampleBuffer* block = r.blocks ? r.blocks[b] : nullptr;
        if (block) k.copy(out, block->data() + offset, n);
        else k.fill(out, fill, n);
        out += n;
        count -= n;
        pos += n;
        if (pos == length) pos = 0;
    }
}

bool CDSPModDelayBase::anyWritten(const SRing& r, int64_t position, int32_t count) {
    if (!r.blocks) return false;
    const int32_t length = r.blockSize * r.blockCount;
    int32_t pos = wrap(position, length);
    for (int32_t left = count + pos % r.blockSize; left > 0; left -= r.blockSize) {
        if (r.blocks[pos / r.blockSize]) return true;
        pos = (pos / r.blockSize + 1) % r.blockCount * r.blockSize;
    }
    return false;
}

void CDSPModDelayBase::read(double* out, int64_t position, int32_t count) const {
    readFrom(ring(), m_fill, *m_kernels, out, position, count);
}

void CDSPModDelayBase::resize(int32_t blockSize, int32_t blockCount) {
    blockSize = std::max(blockSize, 1);
    blockCount = std::max(blockCount, 1);
    if (blockSize == m_blockSize && blockCount == m_blockCount) return;
    if (!m_table) {
        // Nothing written yet: only the geometry changes.
        m_blockSize = blockSize;
        m_blockCount = blockCount;
        m_writePos = 0;
        return;
    }
    CSampleBuffer* newTable = m_pool->acquire(blockCount);
    if (!newTable) return;  // out of memory: the old geometry stays
    std::fill_n(pointersOf(newTable), blockCount, nullptr);
    if (blockSize == m_blockSize) resizeByBlocks(blockCount, newTable);
    else resizeBySamples(blockSize, blockCount, newTable);
    CSampleBufferPool::release(m_table);
    m_table = newTable;
}

// The same block size: blocks move whole. Counting blocks back from the one the write position
// is in (m = 0), block m at offset q holds the sample written m * B + o - q samples ago, o being
// the write offset; the new ring keeps o and puts block m back at index (C' - m) % C'. Only the
// part of block 0 at and after o (the oldest samples of the ring) does not map onto itself.
void CDSPModDelayBase::resizeByBlocks(int32_t newCount, CSampleBuffer* newTable) {
    const int32_t B = m_blockSize;
    const int32_t C = m_blockCount;
    const int32_t bw = m_writePos / B;
    const int32_t o = m_writePos - bw * B;
    CSampleBuffer** oldBlocks = pointersOf(m_table);
    CSampleBuffer** blocks = pointersOf(newTable);
    const CDSPKernels& k = *m_kernels;
    const auto oldBack = [&](int32_t m) -> CSampleBuffer*& { return oldBlocks[(bw - m + C) % C]; };
    const int32_t kept = std::min(C, newCount);
    for (int32_t m = 0; m < kept; ++m) {
        blocks[(newCount - m) % newCount] = oldBack(m);
        oldBack(m) = nullptr;
    }
    CSampleBuffer*& head = blocks[0];
    if (newCount > C) {
        // Growing: the oldest samples move from the head's tail to block C back, at the same
        // offsets; everything older than the old ring reads as the fill value.
        if (head) {
            CSampleBuffer* moved = takeBlock();
            if (moved) {
                k.fill(moved->data(), m_fill, o);
                k.copy(moved->data() + o, head->data() + o, B - o);
                blocks[newCount - C] = moved;
            }
            k.fill(head->data() + o, m_fill, B - o);
        }
    } else {
        // Shrinking: the head's tail now holds what block C' back held at those offsets.
        CSampleBuffer* source = oldBack(newCount);
        oldBack(newCount) = nullptr;
        if (head && source) {
            k.copy(head->data() + o, source->data() + o, B - o);
            CSampleBufferPool::release(source);
        } else if (head) {
            k.fill(head->data() + o, m_fill, B - o);
        } else if (source) {
            k.fill(source->data(), m_fill, o);
            head = source;
        }
        for (int32_t i = 0; i < C; ++i)
            if (oldBlocks[i]) CSampleBufferPool::release(oldBlocks[i]);
    }
    m_blockCount = newCount;
    m_writePos = o;
}

// A new block size: the history is copied sample by sample into new blocks, the write position
// starting again at 0. Samples older than the old ring read as the fill value.
void CDSPModDelayBase::resizeBySamples(int32_t newSize, int32_t newCount, CSampleBuffer* newTable) {
    const SRing old = ring();
    const int64_t oldLength = length();
    CSampleBuffer** blocks = pointersOf(newTable);
    m_blockSize = newSize;  // takeBlock hands out blocks of the new size from here on
    for (int32_t m = 1; m <= newCount; ++m) {
        // Block m back holds the samples written from m * B' down to (m - 1) * B' + 1 ago.
        const int64_t oldest = static_cast<int64_t>(m) * newSize;
        if (oldest - newSize + 1 > oldLength) break;
        if (!anyWritten(old, m_writePos - oldest, newSize)) continue;
        CSampleBuffer* block = takeBlock();
        if (!block) break;
        readFrom(old, m_fill, *m_kernels, block->data(), m_writePos - oldest, newSize);
        const int64_t unknown = std::min<int64_t>(oldest - oldLength, newSize);
        if (unknown > 0) m_kernels->fill(block->data(), m_fill, static_cast<int32_t>(unknown));
        blocks[(newCount - m) % newCount] = block;
    }
    for (int32_t i = 0; i < old.blockCount; ++i)
        if (old.blocks[i]) CSampleBufferPool::release(old.blocks[i]);
    m_blockCount = newCount;
    m_writePos = 0;
}

// ---------------------------------------------------------------------------------------------
// CDSPModDelay

CDSPModDelay::~CDSPModDelay() = default;

void CDSPModDelay::setPool(CSampleBufferPool* pool) {
    if (pool == m_pool) return;
    // Blocks of another pool go back to it; the line starts empty.
    releaseBlocks();
    if (m_table) CSampleBufferPool::release(m_table);
    m_table = nullptr;
    m_writePos = 0;
    m_pool = pool;
}

void CDSPModDelay::setMaxDelay(int32_t maxDelay, int32_t blockSize) {
    m_maxDelay = std::max(maxDelay, 0);
    blockSize = std::max(blockSize, 1);
    resize(blockSize, blockCountFor(blockSize));
}

void CDSPModDelay::fitGeometry() { resize(m_blockSize, blockCountFor(m_blockSize)); }

// Room for the longest delay in play plus one chunk, which is written before its taps read.
int32_t CDSPModDelay::blockCountFor(int32_t blockSize) const {
    const int64_t longest = std::max({m_maxDelay, m_delay, m_target, m_pending});
    const int64_t count = (blockSize + longest + kChunk - 1) / blockSize;
    return static_cast<int32_t>(std::min<int64_t>(count, INT32_MAX / blockSize));
}

void CDSPModDelay::setDelay(int32_t delay, int32_t transitionLength) {
    delay = std::max(delay, 0);
    if (isTransitionRunning()) {
        // Held until the running transition ends; a newer request replaces the held one, and a
        // request for where the transition goes anyway leaves nothing to do after it.
        m_pending = delay == m_target ? -1 : delay;
        m_pendingLength = transitionLength;
        fitGeometry();
        return;
    }
    if (delay == m_delay) return;
    startChange(delay, transitionLength);
}

void CDSPModDelay::startChange(int32_t delay, int32_t transitionLength) {
    m_target = delay;
    if (transitionLength <= 0) {
        m_delay = delay;
    } else {
        m_transitionLength = transitionLength;
        m_transitionLeft = transitionLength;
        m_fade.start(transitionLength);
    }
    // Grows before the new tap reads, or shrinks to what the taps in play still need.
    fitGeometry();
    chooseRoutine();
}

void CDSPModDelay::finishTransition() {
    m_delay = m_target;
    m_transitionLeft = 0;
    const int32_t next = m_pending;
    m_pending = -1;
    if (next >= 0 && next != m_delay) startChange(next, m_pendingLength);
    else {
        fitGeometry();
        chooseRoutine();
    }
}

void CDSPModDelay::setFillValue(double value) { m_fill = value; }

void CDSPModDelay::reset() {
    releaseBlocks();
    m_writePos = 0;
    m_delay = m_target;
    m_pending = -1;
    m_transitionLeft = 0;
    fitGeometry();
    chooseRoutine();
}

int32_t CDSPModDelay::delay() const { return m_delay; }
int32_t CDSPModDelay::targetDelay() const { return m_target; }
bool CDSPModDelay::isTransitionRunning() const { return m_transitionLeft > 0; }

void CDSPModDelay::chooseRoutine() {
    m_run = isTransitionRunning() ? &CDSPModDelay::runTransition : &CDSPModDelay::runSteady;
}

// The whole chunk is written first, then the taps read it: in and out may be one array, and
// the ring is long enough (maxDelay + 256 at least) that a chunk never overwrites what its own
// taps still read.
void CDSPModDelay::process(const double* in, double* out, int32_t count) {
    while (count > 0) {
        int32_t n = std::min(count, kChunk);
        if (isTransitionRunning()) n = std::min(n, m_transitionLeft);
        m_chunkStart = m_writePos;
        write(in, n);
        (this->*m_run)(out, n);
        in += n;
        out += n;
        count -= n;
    }
}

void CDSPModDelay::runSteady(double* out, int32_t count) { read(out, m_chunkStart - m_delay, count); }

void CDSPModDelay::runTransition(double* out, int32_t count) {
    double from[kChunk];
    double to[kChunk];
    read(from, m_chunkStart - m_delay, count);
    read(to, m_chunkStart - m_target, count);
    m_kernels->crossfade(out, from, to, count, m_fade);
    m_transitionLeft -= count;
    if (m_transitionLeft == 0) finishTransition();
}

}  // namespace orl
