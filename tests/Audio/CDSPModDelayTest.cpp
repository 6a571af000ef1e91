#include "Audio/CDSPModDelay.h"
#include "Audio/CSampleBufferPool.h"
#include <gtest/gtest.h>
#include <cmath>
#include <numbers>
#include <random>
#include <set>
#include <vector>

using namespace orl;

namespace {

// Feeds x[pos..end) through the line in host blocks of `hostBlock` samples into y.
struct SRunner {
    CDSPModDelay& line;
    const std::vector<double>& x;
    std::vector<double> y = std::vector<double>(x.size());
    size_t pos = 0;
    bool inPlace = false;

    void runTo(size_t end, int hostBlock) {
        while (pos < end) {
            const int32_t n = static_cast<int32_t>(std::min<size_t>(hostBlock, end - pos));
            if (inPlace) {
                std::copy_n(x.begin() + pos, n, y.begin() + pos);
                line.process(y.data() + pos, y.data() + pos, n);
            } else {
                line.process(x.data() + pos, y.data() + pos, n);
            }
            pos += n;
        }
    }
};

// A line on the pool with rings of `blockSize`, set to `delay` at once.
void prepare(CDSPModDelay& line, CSampleBufferPool& pool, int32_t blockSize, int32_t delay = 0) {
    line.setPool(&pool);
    line.setMaxDelay(0, blockSize);
    line.setDelay(delay, 0);
}

std::vector<double> noise(size_t n) {
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> d(-1.0, 1.0);
    std::vector<double> v(n);
    for (double& s : v) s = d(rng);
    return v;
}

// What the line should put out: x delayed by `to`, or within a phase of `length` samples from
// `start` the raised-cosine mix of x delayed by `from` and by `to`. Input before x[lost] (or
// before the input began) reads as the fill value.
struct SPhase { size_t start; int length; int from; int to; size_t lost = 0; };

double expected(const std::vector<double>& x, const std::vector<SPhase>& phases, size_t n, double fill = 0.0) {
    const SPhase* p = &phases.front();
    for (const SPhase& q : phases)
        if (q.start <= n) p = &q;
    const auto at = [&](int d) { return n >= p->lost + d ? x[n - d] : fill; };
    const size_t k = n - p->start;
    if (k >= static_cast<size_t>(p->length)) return at(p->to);
    const double s = 0.5 * std::cos(std::numbers::pi * static_cast<double>(k) / p->length);
    return (0.5 + s) * at(p->from) + (0.5 - s) * at(p->to);
}

}  // namespace

// An impulse comes out exactly d samples later, whatever the block size of the ring, the host's
// block size, and whether the host hands the same buffer for input and output.
TEST(CDSPModDelay, ImpulseComesOutAfterExactlyTheDelay) {
    CSampleBufferPool pool;
    for (int blockSize : {1024, 64}) {
        for (int d : {0, 255, 257, 1024, 5000}) {
            for (int host : {37, 512}) {
                SCOPED_TRACE(testing::Message() << "block " << blockSize << " d " << d << " host " << host);
                CDSPModDelay line;
                prepare(line, pool, blockSize, d);
                EXPECT_EQ(line.blockCount(), (blockSize + d + 255) / blockSize);
                std::vector<double> x(d + 3 * blockSize + 700, 0.0);
                x[300] = 1.0;
                SRunner r{line, x};
                r.inPlace = host == 37;
                r.runTo(x.size(), host);
                for (size_t n = 0; n < x.size(); ++n) ASSERT_EQ(r.y[n], n == 300u + d ? 1.0 : 0.0) << n;
            }
        }
    }
}

// Never-written blocks read as the fill value, set before or after the line was used; reset
// forgets everything written.
TEST(CDSPModDelay, UnwrittenHistoryReadsAsFillValue) {
    CSampleBufferPool pool;
    CDSPModDelay line;
    line.setFillValue(1.0);
    prepare(line, pool, 64, 100);
    const std::vector<double> x = noise(1000);
    SRunner r{line, x};
    r.runTo(x.size(), 37);
    for (size_t n = 0; n < x.size(); ++n) ASSERT_EQ(r.y[n], n < 100 ? 1.0 : x[n - 100]) << n;
    EXPECT_GT(line.heldBlockCount(), 0);

    line.reset();
    EXPECT_EQ(line.heldBlockCount(), 0);
    line.setFillValue(-2.0);
    std::vector<double> y(200);
    line.process(x.data(), y.data(), 200);
    for (size_t n = 0; n < 200; ++n) ASSERT_EQ(y[n], n < 100 ? -2.0 : x[n - 100]) << n;

    // Grown past its history (1024 samples here), the line reads the fill value where nothing
    // was kept, also in the part of its write block that held the oldest samples.
    CDSPModDelay grown;
    prepare(grown, pool, 1024);
    grown.setFillValue(0.5);
    const std::vector<double> longer = noise(9000);
    SRunner h{grown, longer};
    h.runTo(3172, 37);
    grown.setDelay(3800, 0);
    EXPECT_EQ(grown.blockCount(), 4);
    h.runTo(longer.size(), 512);
    for (size_t n = 3172; n < longer.size(); ++n)
        ASSERT_EQ(h.y[n], n >= 3172 - 1024 + 3800 ? longer[n - 3800] : 0.5) << n;
}

// A change crossfades between the two taps over its length; a change during a transition is
// held until it ends, and a later one replaces the held one. The ring grows and shrinks with the
// delays in play (and with a new block size) without losing the history the taps read.
TEST(CDSPModDelay, TransitionsHeldChangesAndGeometry) {
    CSampleBufferPool pool;
    CDSPModDelay line;
    prepare(line, pool, 64, 300);
    const std::vector<double> x = noise(12000);
    SRunner r{line, x};
    r.runTo(1000, 37);
    line.setDelay(500, 500);  // 1000..1499: 300 -> 500, the ring grows
    EXPECT_EQ(line.blockCount(), (64 + 500 + 255) / 64);
    r.runTo(1200, 37);
    line.setDelay(900, 300);  // held
    line.setDelay(500, 300);  // where it goes anyway: nothing left held
    EXPECT_EQ(line.pendingDelay(), -1);
    line.setDelay(900, 300);
    r.runTo(1300, 37);
    line.setDelay(40, 200);   // replaces 900: 1500..1699: 500 -> 40
    EXPECT_TRUE(line.isTransitionRunning() && line.delay() == 300 && line.targetDelay() == 500);
    EXPECT_EQ(line.pendingDelay(), 40);
    r.runTo(2000, 37);
    EXPECT_FALSE(line.isTransitionRunning());
    EXPECT_EQ(line.delay(), 40);
    EXPECT_EQ(line.blockCount(), (64 + 40 + 255) / 64);  // shrunk after the transition
    line.setDelay(250, 0);    // grows at once, into history kept through the shrink
    r.runTo(3000, 37);
    line.setMaxDelay(0, 1024); // new block size: the 8 * 64 samples of history move over
    EXPECT_EQ(line.blockSize(), 1024);
    line.setDelay(900, 0);    // reaches past them
    r.runTo(4000, 512);
    line.setDelay(5, 1);      // a one-sample transition is a plain switch
    r.runTo(x.size(), 37);

    const std::vector<SPhase> phases{{0, 0, 300, 300},  {1000, 500, 300, 500}, {1500, 200, 500, 40},
                                     {2000, 0, 40, 250}, {3000, 0, 250, 900, 3000u - 8u * 64u},
                                     {4000, 1, 900, 5}};
    for (size_t n = 0; n < x.size(); ++n) ASSERT_NEAR(r.y[n], expected(x, phases, n), 1e-9) << n;
}

// A ramp through many random changes of delay, transition length and host block: each step of
// the output stays within what the crossfade of the two delays allows, so no change of geometry
// ever lost history that a tap went on to read. Each seed runs twice; the second run takes no
// new block from the heap.
TEST(CDSPModDelay, RandomChangesStayContinuousAndRecycleBlocks) {
    CSampleBufferPool pool;
    CDSPModDelay line;
    const size_t total = 200000;
    std::vector<double> x(total);
    for (size_t n = 0; n < total; ++n) x[n] = 1e6 + static_cast<double>(n);
    int32_t heapBlocks = 0;
    for (int pass = 0; pass < 4; ++pass) {
        std::mt19937 rng(11);
        line.reset();
        prepare(line, pool, pass < 2 ? 64 : 1024);
        line.setFillValue(x[0]);
        SRunner r{line, x};
        std::set<int32_t> counts;
        // Samples of history the line must still hold: what was written, but never more than
        // the smallest ring since then (growing adds room, not history).
        int64_t known = 0;
        const auto ring = [&] { return line.blockSize() * line.blockCount(); };
        while (r.pos < total) {
            counts.insert(line.blockCount());
            line.setDelay(std::uniform_int_distribution<int>(0, static_cast<int>(std::min<int64_t>(known, 6000)))(rng),
                          std::uniform_int_distribution<int>(300, 600)(rng));
            known = std::min<int64_t>(known, ring());
            const size_t before = r.pos;
            r.runTo(std::min(total, r.pos + std::uniform_int_distribution<size_t>(1, 900)(rng)),
                    std::uniform_int_distribution<int>(1, 600)(rng));
            known = std::min<int64_t>(known + static_cast<int64_t>(r.pos - before), ring());
        }
        // A step of the mix is at most 1 + |d1 - d2| * pi / (2 * 300), with delays up to 6000.
        for (size_t n = 1; n < total; ++n) ASSERT_LE(std::abs(r.y[n] - r.y[n - 1]), 33.0) << n;
        EXPECT_GE(counts.size(), 3u);  // the ring did grow and shrink
        if (pass % 2 == 0) heapBlocks = pool.heapBlockCount();
        else EXPECT_EQ(pool.heapBlockCount(), heapBlocks) << "pass " << pass;
    }
}
