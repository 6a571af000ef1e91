#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "Audio/CAudioParam.h"
#include "Audio/CAudioParamChange.h"
#include "Audio/CAudioParamCollector.h"
#include "Audio/CAudioParamInfo.h"
#include "Audio/CAudioParamRegistration.h"
#include "Audio/CAudioParamRegistry.h"
#include "Audio/CAudioPreset.h"
#include "Audio/CAudioPresetBank.h"
#include "Audio/CAudioWrapper.h"
#include "Audio/Converters/CConverterRegistration.h"
#include "Audio/Processes/CSignalModules.h"
#include "Core/CApplication.h"
#include "Core/CByteBufferWriter.h"
#include "Core/CError.h"
#include "Other/CAudioInterfaceBase.h"
#include "Other/CAudioInterfaceClient.h"
#include "Other/CHeadlessInterfaceClient.h"
#include "Other/CInterfaceMessage.h"
#include "Other/CParamInterfaceBaseConnector.h"
#include "Other/CParamInterfaceClientConnector.h"
#include "Other/CParamInterfaceParamListener.h"
#include "Other/CParamInterfaceRegistryListener.h"
#include "Other/CVizExchange.h"
#include "Other/CVizListener.h"
#include "tests/Support/CTestText.h"

using namespace orl;
using test::message;
using test::str;

namespace {

// Records the edit brackets that reach the host, by ext index + 1 (negative: end).
class CEditHost : public CAudioWrapper {
public:
    void hostAutomate(int32_t, double) override {}
    void hostUpdateDisplay() override {}
    void hostBeginEdit(int32_t index) override { edits.push_back(index + 1); }
    void hostEndEdit(int32_t index) override { edits.push_back(-(index + 1)); }
    void hostResizeWindow(int32_t, int32_t) override {}
    std::vector<int32_t> edits;
};

// A control's mirror of one parameter.
class CParamMirror : public CParamInterfaceParamListener {
public:
    CError* onInfo(CInputStream& in) override {
        CAudioParamInfo info;
        bool has = false;
        CError* err = readInfo(in, info, has);
        ++infos;
        if (has) ++infosWithInfo;
        return err;
    }
    void onUpdate(const CAudioParamChange& r) override {
        if (r.group == CAudioParamChange::kWholeParam) {
            ++layouts;
            return;
        }
        if (hold) {
            holding = true;
            while (hold.load()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
            holding = false;
        }
        ++updates;
        values.assign(r.numbers, r.numbers + r.numberCount());
    }
    std::atomic<int> infos{0};
    std::atomic<int> infosWithInfo{0};
    std::atomic<int> layouts{0};
    std::atomic<int> updates{0};
    std::vector<double> values;
    std::atomic<bool> hold{false};
    std::atomic<bool> holding{false};
};

class CRegistryMirror : public CParamInterfaceRegistryListener {
public:
    void onList(bool isFactory, const CString& registryId, const CArray<CString>& names, int32_t current) override {
        lists.push_back(isFactory);
        id = str(registryId);
        if (!isFactory) {
            session.clear();
            for (const CString& n : names) session.push_back(str(n));
            currentIndex = current;
        }
    }
    void onPreset(uint32_t t, const CAudioPreset& p) override {
        tag = t;
        preset = p;
        ++presets;
    }
    void onBank(uint32_t t, const CAudioPresetBank& b) override {
        tag = t;
        bankCount = b.count();
    }
    std::vector<bool> lists;
    std::string id;
    std::vector<std::string> session;
    int32_t currentIndex = -2;
    uint32_t tag = 0;
    CAudioPreset preset;
    int presets = 0;
    int32_t bankCount = -1;
};

class CAudioInterfaceTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(CSignalModules::registerAll());
        CConverterRegistration::ensureCreatorsRegistered();
        CAudioParamRegistration::ensureCreatorsRegistered();
        CApplication::CSetup setup;
        const std::string tree = std::string(ORL_TEST_DEFINITIONS_DIR) + "/ShellPlugin.xml.bin";
        setup.sharedData = tree.c_str();
        ASSERT_TRUE(CApplication::load(setup));
        host = std::make_unique<CEditHost>();
        ASSERT_EQ(message(host->init()), "");
        host->finishInit();
        host->setSampleRate(48000.0);
        host->setInputFormat(2, false, false, 0, false, false);
        host->setOutputFormat(2, false, false);
        host->start();
        base = dynamic_cast<CAudioInterfaceBase*>(host->instanceRoot()->findObject(CString("plugin.interface-base")));
        ASSERT_NE(base, nullptr);
    }
    void TearDown() override {
        host.reset();
        CApplication::unload();
    }
    std::unique_ptr<CHeadlessInterfaceClient> window() {
        CHeadlessInterfaceClient* w = nullptr;
        EXPECT_EQ(message(CHeadlessInterfaceClient::create(w, host->instanceRoot(), 200.0)), "");
        return std::unique_ptr<CHeadlessInterfaceClient>(w);
    }
    CAudioParam& param(const char* local) {
        return *host->collector()->getParam(CString("plugin.modMain.") + CString(local));
    }
    // A control's change of one number of a numeric parameter.
    static CError* change(CAudioInterfaceClient& c, uint32_t listenId, uint32_t undoId, int32_t group, double v,
                          int32_t elementSize = 1) {
        const double numbers[2] = {v, v};
        CAudioParamChange r;
        r.group = group;
        r.count = 1;
        r.elementSize = elementSize;
        r.numbers = numbers;
        return c.changeParam(listenId, undoId, r);
    }
    void block() {
        std::vector<float> in(64, 0.25f), l(64), r(64);
        const void* ip[] = {in.data(), in.data()};
        void* op[] = {l.data(), r.data()};
        host->process(ip, op, 64);
    }

    std::unique_ptr<CEditHost> host;
    CAudioInterfaceBase* base = nullptr;
};

}  // namespace

// A control that listens before the definition exists gets neither information nor record, and
// then the full information with the allocation; one that listens to a defined parameter gets
// the information, the layout and each group's content.
TEST_F(CAudioInterfaceTest, ListeningBeforeAndAfterTheDefinition) {
    auto w = window();
    CAudioInterfaceClient& c = *w->client();
    CParamMirror late, gain;
    ASSERT_NE(c.listenParam(CString("plugin.modMain.late"), &late), 0u);
    ASSERT_NE(c.listenParam(CString("plugin.modMain.gain"), &gain), 0u);
    ASSERT_TRUE(w->pumpUntil([&] { return late.infos == 1 && gain.updates > 0; }, 5000));
    EXPECT_EQ(late.infosWithInfo, 0);
    EXPECT_EQ(late.layouts + late.updates, 0);
    EXPECT_EQ(gain.infosWithInfo, 1);
    EXPECT_EQ(gain.layouts, 1);
    EXPECT_EQ(gain.values, std::vector<double>{0.5});

    host->collector()->allocateParam(param("late"), *param("gain").info());
    ASSERT_TRUE(w->pumpUntil([&] { return late.infosWithInfo == 1 && late.updates > 0; }, 5000));
    EXPECT_EQ(late.layouts, 1);
    EXPECT_EQ(late.values, std::vector<double>{0.5});

    // The mirrors start at their start values and then take the instance's answers.
    EXPECT_TRUE(w->pumpUntil([&] { return c.internalChannelCount() == 8; }, 5000));
    EXPECT_EQ(c.groupCount(), 8);
    EXPECT_EQ(c.inChannelCount(), 2);
    EXPECT_EQ(c.sampleRate(), 48000.0);
    EXPECT_EQ(str(c.getGroupName(0)), "STEREO");
    EXPECT_EQ(str(c.getGroupName(8)), "9");
}

// Two windows hear a change, the one that made it included; a change with another layout or
// for an unknown listen id does nothing, and a damaged message is an error that changes nothing.
TEST_F(CAudioInterfaceTest, ChangesReachEveryWindowAndBadChangesNone) {
    auto a = window();
    auto b = window();
    CParamMirror ma, mb;
    const uint32_t ida = a->client()->listenParam(CString("plugin.modMain.gain"), &ma);
    ASSERT_NE(b->client()->listenParam(CString("plugin.modMain.gain"), &mb), 0u);
    EXPECT_NE(ida >> 16, 0u);
    ASSERT_EQ(message(change(*a->client(), ida, 0, 0, 0.8)), "");
    EXPECT_EQ(param("gain").getValue(0, 0, -1.0), 0.8);  // applied before the call returned
    auto both = [&] { return ma.values == std::vector<double>{0.8} && mb.values == std::vector<double>{0.8}; };
    ASSERT_TRUE(a->pumpUntil(both, 5000));

    const int heard = ma.updates;
    EXPECT_EQ(message(change(*a->client(), ida, 0, 0, 0.1, 2)), "");
    EXPECT_EQ(message(change(*a->client(), ida + 999, 0, 0, 0.1)), "");
    CInterfaceMessage cut("change-param");
    (void)cut.writeUInt32(ida);
    CByteBuffer truncated = cut.take();
    EXPECT_NE(message(a->connector()->sendToBase(truncated)), "");
    a->pump(50);
    EXPECT_EQ(param("gain").getValue(0, 0, -1.0), 0.8);
    EXPECT_EQ(ma.updates, heard);
}

// Three changes of one element in one open undo step tell the host of one gesture; the step
// reaches the history of every window, and moving back restores the value. A change with an undo
// id that was never opened applies without a step.
TEST_F(CAudioInterfaceTest, UndoStepsBracketTheHostsEdits) {
    auto w = window();
    CAudioInterfaceClient& c = *w->client();
    CParamMirror m;
    const uint32_t id = c.listenParam(CString("plugin.modMain.gain"), &m);
    const uint32_t undo = c.createUndoData(CString("Gain drag"), true, 7);
    ASSERT_NE(undo, 0u);
    EXPECT_EQ(base->openUndoCount(), 1);
    for (double v : {0.6, 0.7, 0.8}) ASSERT_EQ(message(change(c, id, undo, 0, v)), "");
    EXPECT_EQ(host->edits, std::vector<int32_t>{2});  // gain is host parameter 1
    ASSERT_EQ(message(c.submitUndoData(undo)), "");
    EXPECT_EQ(host->edits, (std::vector<int32_t>{2, -2}));
    EXPECT_EQ(base->openUndoCount(), 0);

    ASSERT_TRUE(w->pumpUntil([&] { return c.undoHistory().count() == 2; }, 5000));
    EXPECT_EQ(str(c.undoHistory()[0]), "Undo history start");
    EXPECT_EQ(str(c.undoHistory()[1]), "Gain drag");
    EXPECT_EQ(c.undoPosition(), 1);

    ASSERT_EQ(message(change(c, id, 0x7fff0001u, 0, 0.9)), "");
    EXPECT_EQ(param("gain").getValue(0, 0, -1.0), 0.9);
    EXPECT_EQ(base->count(), 1);
    EXPECT_EQ(host->edits.size(), 2u);

    ASSERT_EQ(message(c.setUndoHistoryPos(0)), "");
    EXPECT_EQ(param("gain").getValue(0, 0, -1.0), 0.5);
    ASSERT_TRUE(w->pumpUntil([&] { return c.undoPosition() == 0; }, 5000));

    // An opened step that is dropped ends its gestures and leaves no step.
    const uint32_t dropped = c.createUndoData(CString("Dropped"));
    ASSERT_EQ(message(change(c, id, dropped, 0, 0.3)), "");
    ASSERT_EQ(message(c.removeUndoData(dropped)), "");
    EXPECT_EQ(host->edits, (std::vector<int32_t>{2, -2, 2, -2}));
    EXPECT_EQ(base->count(), 1);
}

// A window that goes while answers wait in its queue loses them; the base forgets its listeners
// and goes on serving the others.
TEST_F(CAudioInterfaceTest, AClientClosingWithQueuedMessagesIsHarmless) {
    auto a = window();
    auto b = window();
    CParamMirror ma, mb;
    const uint32_t ida = a->client()->listenParam(CString("plugin.modMain.gain"), &ma);
    ASSERT_NE(b->client()->listenParam(CString("plugin.modMain.gain"), &mb), 0u);
    const int32_t bId = b->client()->clientId();
    const int32_t listeners = base->paramListenerCount();
    for (double v : {0.1, 0.2, 0.3}) ASSERT_EQ(message(change(*a->client(), ida, 0, 0, v)), "");
    EXPECT_GT(base->connector()->queuedCount(bId), 3);
    b.reset();
    EXPECT_EQ(base->connector()->clientCount(), 1);
    EXPECT_EQ(base->connector()->queuedCount(bId), 0);
    EXPECT_EQ(base->paramListenerCount(), listeners / 2);
    ASSERT_EQ(message(change(*a->client(), ida, 0, 0, 0.4)), "");
    ASSERT_TRUE(a->pumpUntil([&] { return ma.values == std::vector<double>{0.4}; }, 5000));
}

// Sample rates carry a sequence: an older answer that arrives late doesn't replace a newer rate,
// and of two with the same sequence the later wins.
TEST_F(CAudioInterfaceTest, SampleRatesKeepTheNewestSequence) {
    auto w = window();
    CAudioInterfaceClient& c = *w->client();
    ASSERT_TRUE(w->pumpUntil([&] { return c.sampleRate() == 48000.0; }, 5000));
    host->setSampleRate(96000.0);
    ASSERT_TRUE(w->pumpUntil([&] { return c.sampleRate() == 96000.0; }, 5000));

    auto deliver = [&](uint32_t sequence, double rate) {
        CInterfaceMessage m("update-sample-rate");
        (void)m.writeUInt32(sequence);
        (void)m.writeDouble(rate);
        const CByteBuffer b = m.take();
        return message(c.receive(b.data(), b.size()));
    };
    EXPECT_EQ(deliver(1000, 44100.0), "");
    EXPECT_EQ(deliver(999, 88200.0), "");
    EXPECT_EQ(c.sampleRate(), 44100.0);
    EXPECT_EQ(deliver(1000, 32000.0), "");
    EXPECT_EQ(c.sampleRate(), 32000.0);
    // A message cut short is an error and changes nothing.
    CInterfaceMessage cut("update-sample-rate");
    (void)cut.writeUInt32(2000);
    const CByteBuffer b = cut.take();
    EXPECT_NE(message(c.receive(b.data(), b.size())), "");
    EXPECT_EQ(c.sampleRate(), 32000.0);
}

// The preset registry through messages: both lists on listening, a preset and a bank on request,
// a preset record activated from the message, a rename, and the unknown registry's error.
TEST_F(CAudioInterfaceTest, RegistryListsAndPresetsTravelAsMessages) {
    auto w = window();
    CAudioInterfaceClient& c = *w->client();
    CRegistryMirror r;
    const uint32_t id = c.listenRegistry(CString("plugin.param-registry"), &r);
    ASSERT_NE(id, 0u);
    ASSERT_TRUE(w->pumpUntil([&] { return r.lists.size() == 2; }, 5000));
    EXPECT_EQ(r.lists, (std::vector<bool>{false, true}));
    EXPECT_EQ(r.id, "tmb3");
    EXPECT_EQ(static_cast<int32_t>(r.session.size()), host->registry()->getProgramCount());
    EXPECT_EQ(r.currentIndex, 0);

    param("gain").setValue(0.3, 0, nullptr, nullptr);
    ASSERT_EQ(message(c.requestPreset(id, 77, false, -1, -1)), "");
    ASSERT_TRUE(w->pumpUntil([&] { return r.presets == 1; }, 5000));
    EXPECT_EQ(r.tag, 77u);
    CByteBuffer record;
    {
        CByteBufferWriter out(record);
        ASSERT_EQ(message(r.preset.write(out)), "");
    }
    param("gain").setValue(0.9, 0, nullptr, nullptr);
    ASSERT_EQ(message(c.activatePreset(id, -1, record)), "");
    EXPECT_EQ(param("gain").getValue(0, 0, -1.0), 0.3);

    ASSERT_EQ(message(c.requestBank(id, 78, false)), "");
    ASSERT_TRUE(w->pumpUntil([&] { return r.bankCount >= 0; }, 5000));
    EXPECT_EQ(r.tag, 78u);
    EXPECT_EQ(r.bankCount, host->registry()->getProgramCount());

    ASSERT_EQ(message(c.renamePreset(id, 0, CString("Loud"))), "");
    ASSERT_TRUE(w->pumpUntil([&] { return !r.session.empty() && r.session[0] == "tmb3:Loud"; }, 5000));

    CRegistryMirror none;
    EXPECT_EQ(c.listenRegistry(CString("plugin.nothing"), &none), 0u);
    EXPECT_NE(message(c.setCurrentProgram(id + 1, 1)), "");  // no registry behind that id
}

// A window that listens to a source switches it on at the next block; when the window goes, the
// source is switched off again.
TEST_F(CAudioInterfaceTest, DisplaysSwitchSourcesThroughTheInterface) {
    struct CNoDisplay : CVizListener {
        void onInactive() override {}
        void onVizData(const CString&, const CAudioVizData&, int32_t) override {}
    } display;
    const CAudioParam& enable = param("probe-enable");
    {
        auto w = window();
        w->exchange()->listen(CString("plugin.modMain.probe"), -1, -1, -1, &display);
        EXPECT_EQ(base->vizListenerCount(), 1);
        block();
        EXPECT_EQ(enable.audioStorage().getValue(0, 0, -1.0), 1.0);
    }
    EXPECT_EQ(base->vizListenerCount(), 0);
    block();
    EXPECT_EQ(enable.audioStorage().getValue(0, 0, -1.0), 0.0);
}

// The audio thread never waits for a window: while the window's thread is held inside a control
// for a second, blocks and parameter changes go on and the answers wait in the queue; once the
// window runs again, it catches up with the last value.
TEST_F(CAudioInterfaceTest, TheAudioThreadNeverWaitsForAHeldWindow) {
    CParamMirror m;
    std::atomic<bool> ready{false}, done{false};
    std::atomic<int32_t> clientId{-1};
    std::thread ui([&] {
        auto w = window();
        clientId = w->client()->clientId();
        (void)w->client()->listenParam(CString("plugin.modMain.gain"), &m);
        w->pumpUntil([&] { return m.updates > 0; }, 5000);
        ready = true;
        w->pumpUntil([&] { return done.load() && m.values == std::vector<double>{0.25}; }, 20000);
    });
    while (!ready) std::this_thread::sleep_for(std::chrono::milliseconds(1));

    m.hold = true;
    param("gain").setValue(0.2, 0, nullptr, nullptr);
    while (!m.holding) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    int blocks = 0;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(1);
    while (std::chrono::steady_clock::now() < end) {
        block();
        if (++blocks % 50 == 0) param("gain").setValue(0.2 + blocks * 1e-6, 0, nullptr, nullptr);
    }
    EXPECT_TRUE(m.holding);
    EXPECT_GT(blocks, 100);
    EXPECT_GT(base->connector()->queuedCount(clientId), 0);
    param("gain").setValue(0.25, 0, nullptr, nullptr);
    m.hold = false;
    done = true;
    ui.join();
    EXPECT_EQ(m.values, std::vector<double>{0.25});
}
