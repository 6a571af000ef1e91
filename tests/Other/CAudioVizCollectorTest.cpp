#include "Other/CAudioVizCollector.h"

#include <gtest/gtest.h>

#include <memory>

#include "tests/Other/CVizTestInstance.h"
#include "tests/Support/CTestParamHost.h"
#include "tests/Support/CTestText.h"

using namespace orl;
using namespace orl::test;

namespace {

// A meter record that counts its own end, to see that the collector frees what it drops.
class CCountedRecord : public CAudioVizDataMeter {
public:
    explicit CCountedRecord(double t) { time = t; }
    ~CCountedRecord() override { ++s_freed; }
    static int s_freed;
};
int CCountedRecord::s_freed = 0;

class CAudioVizCollectorTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_shared = CObject::newRoot();
        CObject::setSharedRoot(m_shared);
        ASSERT_EQ(message(m_shared->loadXMLData(CString("SharedData.xml"), true)), "");
        m_params = std::make_unique<CTestCollector>();
        m_params->setStarted(true);
        m_inst = std::make_unique<CVizTestInstance>(*m_params);
        CCountedRecord::s_freed = 0;
    }
    void TearDown() override {
        m_inst.reset();
        m_params.reset();
        CObject::setSharedRoot(nullptr);
        m_shared->destroy();
    }
    CAudioVizCollector& viz() { return m_inst->viz(); }

    CObject* m_shared = nullptr;
    std::unique_ptr<CTestCollector> m_params;
    std::unique_ptr<CVizTestInstance> m_inst;
};

}  // namespace

TEST_F(CAudioVizCollectorTest, WithoutListenersRecordsAreFreedAndTheSourceStaysOff) {
    CAudioVizEntry* e = viz().getEntry(CString("main.meter"));
    EXPECT_EQ(viz().getEntry(CString("main.meter")), e);
    // A window that opens and closes within one block: the deltas cancel out.
    viz().addListener(e);
    viz().removeListener(e);
    m_inst->blockStart();
    EXPECT_EQ(e->totalCount, 0);
    EXPECT_EQ(m_inst->enableValue("main.meter"), 0.0);
    for (int i = 0; i < 10; ++i) viz().addRecord(e, new CCountedRecord(i));
    EXPECT_EQ(CCountedRecord::s_freed, 10);
    EXPECT_EQ(viz().pendingCount(e), 0);
    EXPECT_TRUE(m_inst->requestRecords().empty());
}

TEST_F(CAudioVizCollectorTest, TwoListenersCountTwoAndOnlyTheLastSwitchesOff) {
    CAudioVizEntry* e = viz().getEntry(CString("main.meter"));
    viz().addListener(e);
    viz().addListener(e);
    m_inst->blockStart();
    EXPECT_EQ(e->totalCount, 2);
    EXPECT_EQ(m_inst->enableValue("main.meter"), 1.0);

    viz().removeListener(e);
    m_inst->blockStart();
    EXPECT_EQ(e->totalCount, 1);
    EXPECT_EQ(m_inst->enableValue("main.meter"), 1.0);
    for (int i = 0; i < 3; ++i) viz().addRecord(e, new CCountedRecord(i));
    EXPECT_EQ(viz().pendingCount(e), 3);
    EXPECT_EQ(CCountedRecord::s_freed, 0);

    // The last one goes: the source is switched off and what waited for it is dropped.
    viz().removeListener(e);
    viz().removeListener(e);  // one too many never takes the count below 0
    m_inst->blockStart();
    EXPECT_EQ(e->totalCount, 0);
    EXPECT_EQ(m_inst->enableValue("main.meter"), 0.0);
    EXPECT_EQ(viz().pendingCount(e), 0);
    EXPECT_EQ(CCountedRecord::s_freed, 3);

    viz().addListener(e);
    m_inst->blockStart();
    EXPECT_EQ(e->totalCount, 1);
    EXPECT_EQ(m_inst->enableValue("main.meter"), 1.0);
}

TEST_F(CAudioVizCollectorTest, ARingKeepsTheLast1024RecordsInTheirOrder) {
    CAudioVizEntry* a = viz().getEntry(CString("a"));
    CAudioVizEntry* b = viz().getEntry(CString("b"));
    viz().addListener(a);
    viz().addListener(b);
    m_inst->blockStart();
    for (int i = 0; i < 1500; ++i) viz().addRecord(a, new CCountedRecord(i));
    viz().addRecord(b, new CCountedRecord(7.0));
    EXPECT_EQ(CCountedRecord::s_freed, 1500 - 1024);
    EXPECT_EQ(viz().pendingCount(a), 1024);

    const auto seen = m_inst->requestRecords();
    ASSERT_EQ(seen.size(), 1025u);
    for (size_t i = 0; i < 1024; ++i) {
        ASSERT_EQ(seen[i].name, "a");
        ASSERT_EQ(seen[i].time, 476.0 + static_cast<double>(i));
    }
    EXPECT_EQ(seen[1024].name, "b");
    EXPECT_EQ(CCountedRecord::s_freed, 1501);
    // Taken records are gone; the next request is empty, and the rings are used again.
    EXPECT_TRUE(m_inst->requestRecords().empty());
    viz().addRecord(a, new CCountedRecord(2000.0));
    const auto next = m_inst->requestRecords();
    ASSERT_EQ(next.size(), 1u);
    EXPECT_EQ(next[0].time, 2000.0);
}

TEST_F(CAudioVizCollectorTest, AnEmptyAnswerIsTheTimeAndAZeroAndTheRateReachesTheBlock) {
    m_inst->env().enterSpinning();
    m_inst->env().setBlockEndTime(2.5);
    m_inst->env().leave();
    CMemoryReader in = m_inst->request(60.0);
    double now = 0.0;
    uint32_t end = 99;
    EXPECT_EQ(in.readDouble(now), nullptr);
    EXPECT_EQ(in.readUInt32(end), nullptr);
    EXPECT_EQ(now, 2.5);
    EXPECT_EQ(end, 0u);
    EXPECT_EQ(in.position(), in.size());

    // The rate wanted goes to the audio thread's copy with the next block's deltas.
    EXPECT_EQ(m_inst->env().blockVizRate(), 30.0);
    bool requested = false;
    EXPECT_EQ(viz().takeDeltas(requested), nullptr);
    EXPECT_TRUE(requested);
    EXPECT_EQ(m_inst->env().blockVizRate(), 60.0);
    viz().takeDeltas(requested);
    EXPECT_FALSE(requested);
}

TEST_F(CAudioVizCollectorTest, StopDropsEverythingPending) {
    CAudioVizEntry* a = viz().getEntry(CString("a"));
    CAudioVizEntry* b = viz().getEntry(CString("b"));
    viz().addListener(a);
    viz().addListener(b);
    m_inst->blockStart();
    for (int i = 0; i < 5; ++i) {
        viz().addRecord(a, new CCountedRecord(i));
        viz().addRecord(b, new CCountedRecord(i));
    }
    viz().dropPending();
    EXPECT_EQ(CCountedRecord::s_freed, 10);
    EXPECT_TRUE(m_inst->requestRecords().empty());
    EXPECT_EQ(a->totalCount, 1);
}

TEST_F(CAudioVizCollectorTest, AGraphFindsTheCollectorOfItsParameterHost) {
    EXPECT_EQ(CAudioVizCollector::forHost(&m_params->collector()), &viz());
    CTestParamHost other;
    EXPECT_EQ(CAudioVizCollector::forHost(&other), nullptr);
    viz().attachToHost(&other);
    EXPECT_EQ(CAudioVizCollector::forHost(&other), &viz());
    EXPECT_EQ(CAudioVizCollector::forHost(&m_params->collector()), nullptr);
    viz().attachToHost(nullptr);
    EXPECT_EQ(CAudioVizCollector::forHost(&other), nullptr);
}
