#include "Other/CVizExchange.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Core/CByteBuffer.h"
#include "Core/CByteBufferWriter.h"
#include "Core/CMemoryReader.h"
#include "Other/CAudioVizDataMeter.h"
#include "Other/CVizListener.h"
#include "Other/CVizRequestSender.h"

using namespace orl;

namespace {

struct CSender : CVizRequestSender {
    void listenViz(const CString& name, int32_t slot) override {
        log.push_back("listen " + std::string(name.narrowed().c8()) + " " + std::to_string(slot));
    }
    void unlistenViz(const CString& name) override { log.push_back("unlisten " + std::string(name.narrowed().c8())); }
    void requestVizData(double rate) override { rates.push_back(rate); }
    std::vector<std::string> log;
    std::vector<double> rates;
};

struct CListener : CVizListener {
    void onInactive() override { ++inactive; }
    void onVizData(const CString&, const CAudioVizData& record, int32_t flag) override {
        EXPECT_EQ(flag, 0);
        values.push_back(static_cast<const CAudioVizDataMeter&>(record).value1);
    }
    int inactive = 0;
    std::vector<double> values;
};

struct CRec {
    double time;
    double value;
    int32_t group = 0;
    int32_t channel = 0;
    int32_t slot = -1;
    uint32_t type = 0;
};

// The payload of a viz-data message (after its name): now, then one block per source.
CByteBuffer payload(double now, const std::vector<std::pair<std::string, std::vector<CRec>>>& blocks) {
    CByteBuffer bytes;
    CByteBufferWriter w(bytes);
    EXPECT_EQ(w.writeDouble(now), nullptr);
    for (const auto& [name, recs] : blocks) {
        EXPECT_EQ(w.writeUInt32(static_cast<uint32_t>(recs.size())), nullptr);
        EXPECT_EQ(w.writeString(CString(name.c_str())), nullptr);
        for (const CRec& r : recs) {
            EXPECT_EQ(w.writeUInt32(r.type), nullptr);
            if (r.type != 0) {
                // A record of a type nobody knows: some bytes to skip.
                EXPECT_EQ(w.writeUInt32(3), nullptr);
                EXPECT_EQ(w.write("xyz", 3), nullptr);
                continue;
            }
            CAudioVizDataMeter m;
            m.time = r.time;
            m.value1 = r.value;
            m.group = r.group;
            m.channel = r.channel;
            m.slot = r.slot;
            CByteBuffer one;
            {
                CByteBufferWriter ow(one);
                EXPECT_EQ(m.save(ow), nullptr);
            }
            EXPECT_EQ(w.writeUInt32(one.size()), nullptr);
            EXPECT_EQ(w.write(one.data(), one.size()), nullptr);
        }
    }
    EXPECT_EQ(w.writeUInt32(0), nullptr);
    return bytes;
}

void feed(CVizExchange& x, const CByteBuffer& bytes) {
    CMemoryReader in(bytes.data(), bytes.size());
    CError* err = x.onVizData(in);
    EXPECT_EQ(err, nullptr);
    deleteError(err);
    EXPECT_EQ(in.position(), in.size());
}

struct CClock {
    double now = 0.0;
    static double read(void* self) { return static_cast<CClock*>(self)->now; }
};

class CVizExchangeTest : public ::testing::Test {
protected:
    void SetUp() override {
        x = new CVizExchange();
        x->setSender(&sender);
        x->setClock(&CClock::read, &clock);
    }
    void TearDown() override {
        if (x) delete x;
    }
    CVizExchange* x = nullptr;
    CSender sender;
    CClock clock;
};

}  // namespace

TEST_F(CVizExchangeTest, OnlyTheFirstAndLastListenerOfANameAreSent) {
    CListener a, b;
    x->listen(CString("m"), -1, -1, -1, &a);
    x->listen(CString("m"), -1, -1, -1, &b);
    x->listen(CString("n"), -2, -1, -1, &a);
    EXPECT_EQ(x->listenerCount(CString("m")), 2);
    x->unlisten(CString("m"), &a);
    EXPECT_EQ(sender.log, (std::vector<std::string>{"listen m -1", "listen n -2"}));
    x->unlisten(CString("m"), &b);
    EXPECT_EQ(sender.log.back(), "unlisten m");
    // The end of the exchange unlistens the rest.
    delete x;
    x = nullptr;
    EXPECT_EQ(sender.log.back(), "unlisten n");
}

TEST_F(CVizExchangeTest, RecordsWaitForTheirTimeAndGoToTheMatchingListeners) {
    CListener any, group1, ch2, slot0;
    x->listen(CString("m"), -1, -1, -1, &any);
    x->listen(CString("m"), -2, 1, -1, &group1);
    x->listen(CString("m"), -1, -1, 2, &ch2);
    x->listen(CString("m"), 0, -1, -1, &slot0);

    CRec early{0.9, 1.0};
    CRec g1{1.0, 2.0, 1, 0};
    CRec c2{0.5, 3.0, 0, 2};
    CRec later{1.5, 4.0};
    CRec unknown{0.0, 0.0, 0, 0, -1, 2};
    feed(*x, payload(1.0, {{"m", {early, g1, unknown, c2, later}}, {"nobody", {early}}}));
    EXPECT_EQ(any.values, (std::vector<double>{1.0, 2.0, 3.0}));
    EXPECT_EQ(group1.values, (std::vector<double>{2.0}));
    EXPECT_EQ(ch2.values, (std::vector<double>{3.0}));
    EXPECT_TRUE(slot0.values.empty());
    EXPECT_EQ(x->queuedCount(), 1);

    // Not yet due at 1.4; due at 1.5, before anything the message brings.
    feed(*x, payload(1.4, {}));
    EXPECT_EQ(any.values.size(), 3u);
    feed(*x, payload(1.5, {{"m", {CRec{1.5, 5.0}}}}));
    EXPECT_EQ(any.values, (std::vector<double>{1.0, 2.0, 3.0, 4.0, 5.0}));
    EXPECT_EQ(x->queuedCount(), 0);

    // A start of the audio side drops what waits and sends every display to rest.
    feed(*x, payload(2.0, {{"m", {CRec{3.0, 6.0}}}}));
    EXPECT_EQ(x->queuedCount(), 1);
    x->onStartViz();
    EXPECT_EQ(x->queuedCount(), 0);
    EXPECT_EQ(any.inactive, 1);
    EXPECT_EQ(slot0.inactive, 1);
}

TEST_F(CVizExchangeTest, ADamagedMessageFailsAndKeepsTheQueue) {
    CListener a;
    x->listen(CString("m"), -1, -1, -1, &a);
    feed(*x, payload(1.0, {{"m", {CRec{2.0, 1.0}}}}));
    CByteBuffer bytes = payload(1.0, {{"m", {CRec{1.0, 1.0}}}});
    CMemoryReader in(bytes.data(), bytes.size() - 10);
    CError* err = x->onVizData(in);
    EXPECT_NE(err, nullptr);
    deleteError(err);
    EXPECT_EQ(x->queuedCount(), 1);
}

TEST_F(CVizExchangeTest, TheRateFollowsTheTickInterval) {
    auto run = [&](double dt, int ticks) {
        for (int i = 0; i < ticks; ++i) {
            clock.now += dt;
            x->tick();
        }
    };
    run(0.025, 100);
    EXPECT_NEAR(x->rateEstimate(), 40.0, 0.01);
    EXPECT_EQ(sender.rates.back(), 40.0);

    // 10 ms: most of the way within 40 ticks (0.4 s), settled within 300, never beyond.
    double highest = 0.0;
    int ticksTo90 = -1;
    for (int i = 0; i < 300; ++i) {
        run(0.010, 1);
        highest = std::max(highest, x->rateEstimate());
        if (ticksTo90 < 0 && x->rateEstimate() >= 90.0) ticksTo90 = i + 1;
    }
    EXPECT_GT(ticksTo90, 0);
    EXPECT_LE(ticksTo90, 40);
    EXPECT_NEAR(x->rateEstimate(), 100.0, 0.5);
    EXPECT_LE(highest, 100.0 + 1e-9);
    EXPECT_EQ(sender.rates.back(), 100.0);

    // 5 ms would be 200 per second: the estimate stops at 144.
    run(0.005, 2000);
    EXPECT_LE(x->rateEstimate(), 144.0);
    EXPECT_GT(x->rateEstimate(), 143.0);
    EXPECT_LE(sender.rates.back(), 144.0);

    // A stalled window asks for at least one record per second.
    run(5.0, 400);
    EXPECT_GE(sender.rates.back(), 1.0);
}

TEST_F(CVizExchangeTest, WhileCountingASilentListenerIsToldOnceAndAgainAfterARecord) {
    x->configure(10.0, 0.5);
    EXPECT_EQ(x->inactiveLimit(), 5);
    CListener a;
    x->listen(CString("m"), -1, -1, -1, &a);
    for (int i = 0; i < 20; ++i) x->tick();
    EXPECT_EQ(a.inactive, 0);  // not counting yet

    x->onStopViz();
    for (int i = 0; i < 5; ++i) x->tick();
    EXPECT_EQ(a.inactive, 0);
    x->tick();
    EXPECT_EQ(a.inactive, 1);
    for (int i = 0; i < 20; ++i) x->tick();
    EXPECT_EQ(a.inactive, 1);

    feed(*x, payload(1.0, {{"m", {CRec{1.0, 1.0}}}}));
    for (int i = 0; i < 6; ++i) x->tick();
    EXPECT_EQ(a.inactive, 2);

    x->onClearClient();
    feed(*x, payload(2.0, {{"m", {CRec{2.0, 1.0}}}}));
    for (int i = 0; i < 20; ++i) x->tick();
    EXPECT_EQ(a.inactive, 2);

    // Out-of-range settings: a frame rate below 1 counts 1, a timeout below 0.01 counts 0.5.
    x->configure(0.2, 0.001);
    EXPECT_EQ(x->inactiveLimit(), 1);
}
