#include "Audio/CAudioWrapper.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Audio/CAudioEnv.h"
#include "Audio/CAudioExtParam.h"
#include "Audio/CAudioExtParamList.h"
#include "Audio/CAudioParam.h"
#include "Audio/CAudioParamChange.h"
#include "Audio/CAudioParamCollector.h"
#include "Audio/CAudioParamLockContext.h"
#include "Audio/CAudioParamRegistration.h"
#include "Audio/CAudioParamRegistry.h"
#include "Audio/CAudioParamUndo.h"
#include "Audio/CAudioProcessBase.h"
#include "Audio/Converters/CConverterRegistration.h"
#include "Audio/Processes/CSignalModules.h"
#include "Core/CAppDataGroup.h"
#include "Core/CAppDataLocal.h"
#include "Core/CByteBuffer.h"
#include "Core/CApplication.h"
#include "Core/CObject.h"
#include "Platform/CFloatMode.h"
#include "tests/Support/CTestSignals.h"
#include "tests/Support/CTestText.h"

using namespace orl;
using test::message;
using test::str;

namespace {

// A host in miniature: records what the shell asks of it.
class CTestHost : public CAudioWrapper {
public:
    void hostAutomate(int32_t index, double value) override { automated.push_back({index, value}); }
    void hostUpdateDisplay() override { ++displayUpdates; }
    void hostBeginEdit(int32_t index) override { edits.push_back(index + 1); }
    void hostEndEdit(int32_t index) override { edits.push_back(-(index + 1)); }
    void hostResizeWindow(int32_t w, int32_t h) override { resizes.push_back({w, h}); }
    void onMidiEvent(const CAudioEventRecord& e) override {
        midiFlushing.push_back(CFloatMode::isFlushingDenormals() ? e.midi.data1 : 0u);
    }
    void onLatencyChanged() override {
        ++latencyChanges;
        CAudioWrapper::onLatencyChanged();
    }
    std::vector<std::pair<int32_t, double>> automated;
    std::vector<int32_t> edits;
    std::vector<std::pair<int32_t, int32_t>> resizes;
    std::vector<uint32_t> midiFlushing;  // note number while denormals flush, else 0
    int displayUpdates = 0;
    int latencyChanges = 0;
};

struct CFormat {
    bool isDouble;
    bool isInterleaved;
};

class CAudioWrapperTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(CSignalModules::registerAll());
        CConverterRegistration::ensureCreatorsRegistered();
        CAudioParamRegistration::ensureCreatorsRegistered();
        CApplication::CSetup setup;
        const std::string tree = std::string(ORL_TEST_DEFINITIONS_DIR) + "/ShellPlugin.xml.bin";
        setup.sharedData = tree.c_str();
        ASSERT_TRUE(CApplication::load(setup));
        ASSERT_NE(CObject::sharedRoot(), nullptr);
        ASSERT_NE(CObject::sharedRoot()->findObject(CString("shared::project")), nullptr);
    }
    void TearDown() override {
        host.reset();
        CApplication::unload();
    }

    // init, the adapter's finishInit, then a resume at 48 kHz with the given channels.
    CTestHost& make(int32_t channels = 2, CFormat f = {false, false}) {
        host = std::make_unique<CTestHost>();
        EXPECT_EQ(message(host->init()), "");
        host->finishInit();
        host->setSampleRate(48000.0);
        host->setInputFormat(channels, f.isDouble, f.isInterleaved, 0, false, false);
        host->setOutputFormat(channels, f.isDouble, f.isInterleaved);
        host->start();
        return *host;
    }
    CAudioParam& param(const char* local) {
        return *host->collector()->getParam(CString("plugin.modMain.") + CString(local));
    }
    // A group of numbers from the UI, as a control writes them.
    static void setNumbers(CAudioParam& p, const std::vector<double>& v) {
        CAudioParamLockContext lock(p);
        CAudioParamChange r;
        r.setTarget(p.uiStorage(), 0, 0, static_cast<int32_t>(v.size()), nullptr);
        r.numbers = v.data();
        ASSERT_TRUE(p.change(r, &lock));
    }
    static std::vector<double> numbers(CAudioParam& p, int32_t count) {
        std::vector<double> v;
        for (int32_t i = 0; i < count; ++i) v.push_back(p.getValue(0, i, -1.0));
        return v;
    }
    static std::vector<std::string> texts(CAudioParam& p, int32_t count) {
        std::vector<std::string> v;
        CString t;
        for (int32_t i = 0; i < count; ++i) v.push_back(p.getString(t, 0, i) ? str(t) : "?");
        return v;
    }
    // Stereo planar float through the shell, in host blocks of `block` frames.
    std::vector<std::vector<float>> run(const std::vector<std::vector<float>>& in, int32_t block) {
        const size_t n = in[0].size();
        std::vector<std::vector<float>> out(in.size(), std::vector<float>(n, 99.0f));
        for (size_t at = 0; at < n; at += static_cast<size_t>(block)) {
            const int32_t frames = static_cast<int32_t>(std::min<size_t>(block, n - at));
            const void* ip[] = {in[0].data() + at, in[1].data() + at};
            void* op[] = {out[0].data() + at, out[1].data() + at};
            host->process(ip, op, frames);
        }
        return out;
    }
    double envStreamTime() {
        host->env()->enterSpinning();
        const double t = host->env()->streamTime();
        host->env()->leave();
        return t;
    }

    std::unique_ptr<CTestHost> host;
};

// The project's attributes, the bound objects and the host bridges: ext params reach the host
// once ready, edit brackets go by ext index, a program change from elsewhere updates the
// display, and the window follows `main-window-size` with the project's lower bounds.
TEST_F(CAudioWrapperTest, InitBuildsTheInstanceAndItsHostBridges) {
    CTestHost& h = make();
    EXPECT_EQ(h.pluginCode(), 0x546d6233u);  // "Tmb3"
    EXPECT_EQ(str(h.pluginName()), "Tamberlo 3");
    EXPECT_EQ(str(h.vendorName()), "Orlune");
    EXPECT_EQ(h.versionMajor() * 10000 + h.versionMinor() * 100 + h.versionPatch(), 30001);
    EXPECT_TRUE(h.hasTail());
    EXPECT_DOUBLE_EQ(h.tailSeconds(), 1.5);
    EXPECT_EQ(h.getInternalChannelCount(), 8);
    EXPECT_TRUE(h.isReady());
    // 640 x 360 at scale 1 on a 1080-line screen; the height is raised to the minimum of 400.
    EXPECT_DOUBLE_EQ(h.uiScale(), 1.0);
    EXPECT_EQ(std::make_pair(h.windowWidth(), h.windowHeight()), std::make_pair(640, 400));

    h.automated.clear();
    param("bypass-enable").setValue(1.0, 0, nullptr, nullptr);
    ASSERT_EQ(h.automated.size(), 1u);
    EXPECT_EQ(h.automated[0], std::make_pair(0, 1.0));

    h.beginParamEdit(&param("gain"), 0, 0);
    h.endParamEdit(&param("gain"), 0, 0);
    h.beginParamEdit(&param("gain"), 1, 0);  // not host-visible
    EXPECT_EQ(h.edits, (std::vector<int32_t>{2, -2}));

    h.registry()->renamePreset(0, CString("Other"), nullptr);
    h.registry()->renamePreset(0, CString("Own"), &h);
    EXPECT_EQ(h.displayUpdates, 1);

    setNumbers(param("main-window-size"), {800.0, 600.0});
    EXPECT_EQ(h.resizes, (std::vector<std::pair<int32_t, int32_t>>{{800, 600}}));
}

TEST_F(CAudioWrapperTest, InitFailsWithItsMessage) {
    CObject* project = CObject::sharedRoot()->findObject(CString("project"));
    ASSERT_NE(project, nullptr);
    const bool readOnly = project->isReadOnly();
    auto initWith = [&](const char* attr, const char* value) {
        const CString old = project->getAttrString(CString(attr));
        project->setReadOnly(false);
        EXPECT_EQ(project->setAttr(CString(attr), CString(value), true), nullptr);
        auto shell = std::make_unique<CTestHost>();
        const std::string m = message(shell->init());
        shell.reset();
        EXPECT_EQ(project->setAttr(CString(attr), old, true), nullptr);
        project->setReadOnly(readOnly);
        return m;
    };
    const std::string channels = "Invalid 'plugin-intchannel-count' attribute value.";
    EXPECT_EQ(initWith("plugin-intchannel-count", "17"), channels);
    EXPECT_EQ(initWith("plugin-intchannel-count", "0"), channels);
    EXPECT_EQ(initWith("plugin-group-count", "9"), "Invalid 'plugin-group-count' attribute value.");
    EXPECT_EQ(initWith("app-version", "3.x"), "Invalid version specification in string '3.x'.");
    EXPECT_EQ(initWith("app-name", ""), "Plug-in name is empty.");

    CApplication::unload();
    EXPECT_EQ(message(CTestHost().init()), "No application object created.");
}

// 1300 frames reach the graph as 512, 512 and 276; an event at 100 of 300 cuts 100 and 200 and
// takes the change list again there: the new gain is heard from frame 100 (plus the graph's
// 64-frame delay).
TEST_F(CAudioWrapperTest, BlocksAreSlicedAtTheGraphLimitAndAtEvents) {
    CTestHost& h = make();
    const auto x = test::uniformNoise(1300, 7);
    std::vector<float> in(x.begin(), x.end());
    const uint64_t before = h.sliceCount();
    run({in, in}, 1300);
    EXPECT_EQ(h.sliceCount() - before, 3u);
    EXPECT_EQ(h.mainProcess()->sampleCount(), 276);

    h.stop();
    h.start();
    const double oldGain = param("gain").getValue(0, 0, 0.0);
    h.addEvent(CAudioEventRecord::makeParam(100, 1, 0.25));
    h.addEvent(CAudioEventRecord::makeMidi(100, 9, 0, 60, 100));
    const uint64_t mark = h.sliceCount();
    std::vector<float> one(300, 1.0f);
    const auto out = run({one, one}, 300);
    EXPECT_EQ(h.sliceCount() - mark, 2u);
    EXPECT_EQ(h.mainProcess()->sampleCount(), 200);
    // Denormals flush inside the block, and the caller's mode is back after it.
    EXPECT_EQ(h.midiFlushing, std::vector<uint32_t>{60});
    EXPECT_FALSE(CFloatMode::isFlushingDenormals());
    const double newGain = param("gain").getValue(0, 0, 0.0);
    ASSERT_NE(newGain, oldGain);
    // The host-visible gain is element 0: channel 0's gain; channel 1 keeps the default.
    for (int32_t i = 0; i < 300; ++i) {
        const double want = i < 64 ? 0.0 : i < 164 ? oldGain : newGain;
        ASSERT_EQ(out[0][i], static_cast<float>(want)) << i;
        ASSERT_EQ(out[1][i], static_cast<float>(i < 64 ? 0.0 : oldGain)) << i;
    }
}

// A null input channel reads as silence, a null output channel is skipped, and output channels
// that the graph doesn't deliver are zero.
TEST_F(CAudioWrapperTest, NullChannelsAndUndeliveredFrames) {
    CTestHost& h = make();
    h.stop();
    h.setOutputFormat(4, true, false);
    h.setInputFormat(2, true, false, 0, false, false);
    h.start();
    std::vector<double> left(700, 1.0);
    std::vector<std::vector<double>> out(4, std::vector<double>(700, 7.0));
    const void* ip[] = {left.data(), nullptr};
    void* op[] = {nullptr, out[1].data(), out[2].data(), out[3].data()};
    h.process(ip, op, 700);
    for (int32_t c = 1; c < 4; ++c) {
        for (double v : out[c]) ASSERT_EQ(v, 0.0) << c;
    }
    // A block before the host's resume is silence too.
    h.stop();
    std::vector<double> first(700, 7.0);
    op[0] = first.data();
    h.process(ip, op, 700);
    for (double v : first) ASSERT_EQ(v, 0.0);
}

// The same rate marks nothing dirty; start and stop prime the graph once per transition.
TEST_F(CAudioWrapperTest, RepeatedSettingsAndTransitionsDoNothing) {
    CTestHost& h = make();
    EXPECT_FALSE(h.isIODirty());
    h.setSampleRate(48000.0);
    h.setInputFormat(2, false, false, 0, false, false);
    h.setOutputFormat(2, false, false);
    EXPECT_FALSE(h.isIODirty());

    const uint64_t slices = h.sliceCount();
    const double t = envStreamTime();
    h.start();
    EXPECT_EQ(h.sliceCount(), slices);
    EXPECT_EQ(envStreamTime(), t);
    h.stop();
    h.stop();
    EXPECT_EQ(h.sliceCount(), slices + 1);
    EXPECT_DOUBLE_EQ(envStreamTime(), t + 1.0 / 48000.0);

    h.setSampleRate(44100.0);
    EXPECT_TRUE(h.isIODirty());
    h.start();
    EXPECT_FALSE(h.isIODirty());
}

// A routing that still looks generated follows the host's channels; one the user made is left
// alone. Channel labels come in as one undo step, and only when they differ.
TEST_F(CAudioWrapperTest, AutomaticRoutingAndChannelLabels) {
    CTestHost& h = make();
    CArray<CString> four, none;
    for (const char* n : {"L", "R", "C", "LFE"}) four.add(CString(n));
    h.setHostChannelNames(four, none);
    h.updateAutoRouting(true, nullptr, CAudioParamUndoContext());
    EXPECT_EQ(texts(param("io-params.in-channel-names"), 4), (std::vector<std::string>{"L", "R", "C", "LFE"}));
    EXPECT_EQ(texts(param("io-params.group-names"), 3), (std::vector<std::string>{"MULTI", "G-2", "G-3"}));
    EXPECT_EQ(numbers(param("io-params.in-routing"), 8), (std::vector<double>{1, 2, 3, 4, 0, 0, 0, 0}));
    EXPECT_EQ(numbers(param("io-params.out-routing"), 8), (std::vector<double>{1, 2, 3, 4, 0, 0, 0, 0}));
    EXPECT_EQ(numbers(param("io-params.grouping"), 8), (std::vector<double>{0, 0, 0, 0, 2, 2, 3, 3}));

    const std::vector<double> user{2, 1, 3, 4, 0, 0, 0, 0};
    setNumbers(param("io-params.in-routing"), user);
    CArray<CString> two;
    for (const char* n : {"Left", "Right"}) two.add(CString(n));
    h.setHostChannelNames(two, none);
    h.updateAutoRouting(true, nullptr, CAudioParamUndoContext());
    EXPECT_EQ(numbers(param("io-params.in-routing"), 8), user);
    EXPECT_EQ(texts(param("io-params.group-names"), 1), (std::vector<std::string>{"MULTI"}));
    EXPECT_EQ(numbers(param("io-params.grouping"), 8), (std::vector<double>{0, 0, 0, 0, 2, 2, 3, 3}));

    CAudioParamUndo* undo = h.registry()->undo();
    ASSERT_NE(undo, nullptr);
    const int32_t steps = undo->count();
    h.importChannelLabels();
    h.importChannelLabels();
    EXPECT_EQ(texts(param("io-params.in-channel-names"), 2), (std::vector<std::string>{"Left", "Right"}));
    EXPECT_EQ(param("io-params.in-channel-names").uiStorage().elementCount(0), 2);
    ASSERT_EQ(undo->count(), steps + 1);
    CArray<CString> names;
    int32_t position = 0;
    undo->getHistoryNames(names, position);
    EXPECT_EQ(str(names.last()), "Channel label import");
}

// Offline the oversampling level follows the stored setting and the rate; forcing the automatic
// mode negates it; real time leaves the graph's own choice (mode 0).
TEST_F(CAudioWrapperTest, OfflineOversamplingLevels) {
    CTestHost& h = make();
    CAudioParam& mode = param("host-oversampling-mode");
    auto offlineAt = [&](double rate, const char* level) {
        CAppDataGroup::instance().writeString(CString("oversampling-level"), CString(level), nullptr);
        h.setSampleRate(rate);
        h.setOffline(true);
        EXPECT_EQ(mode.getValue(0, 0, -99.0), h.hostOversamplingMode());
        return h.hostOversamplingMode();
    };
    EXPECT_EQ(offlineAt(96000.0, "1"), 1);
    EXPECT_DOUBLE_EQ(param("host-offline").getValue(0, 0, -1.0), 1.0);
    EXPECT_EQ(offlineAt(44100.0, "1"), 2);
    EXPECT_EQ(offlineAt(192000.0, "1"), 0);
    EXPECT_EQ(offlineAt(44100.0, "3"), 3);
    EXPECT_EQ(offlineAt(48000.0, "junk"), 2);
    CAppDataLocal::instance().writeString(CString("force-auto-oversampling"), CString("true"), nullptr);
    EXPECT_EQ(offlineAt(44100.0, "3"), -3);
    h.setOffline(false);
    EXPECT_EQ(h.hostOversamplingMode(), 0);
    EXPECT_DOUBLE_EQ(param("host-offline").getValue(0, 0, -1.0), 0.0);
    CAppDataLocal::instance().writeString(CString("force-auto-oversampling"), CString("0"), nullptr);
    CAppDataGroup::instance().writeString(CString("oversampling-level"), CString("1"), nullptr);
}

// A change of the graph's latency in a block reaches onLatencyChanged and the host parameter;
// the adapter's confirmation clears both marks.
TEST_F(CAudioWrapperTest, LatencyChangeIsReported) {
    CTestHost& h = make();
    EXPECT_EQ(h.getLatency(), 64u);
    h.confirmLatencyReported();
    EXPECT_FALSE(h.isLatencyPending());
    EXPECT_DOUBLE_EQ(param("host-latency-change").getValue(0, 0, -1.0), 0.0);
    const int before = h.latencyChanges;

    std::vector<float> in(256, 0.0f);
    run({in, in}, 256);
    EXPECT_EQ(h.latencyChanges, before);
    param("latency-off").setValue(1.0, 0, nullptr, nullptr);
    run({in, in}, 256);
    EXPECT_EQ(h.latencyChanges, before + 1);
    EXPECT_EQ(h.getLatency(), 0u);
    EXPECT_TRUE(h.isLatencyPending());
    EXPECT_FALSE(h.isLatencyReported());
    EXPECT_DOUBLE_EQ(param("host-latency-change").getValue(0, 0, -1.0), 1.0);
    h.confirmLatencyReported();
    EXPECT_DOUBLE_EQ(param("host-latency-change").getValue(0, 0, -1.0), 0.0);
}

// Without events the output doesn't depend on the host's block size, in any sample format; and
// it is the graph's closed form, 0.5 x[n - 64]: the primed frame of silence shifts nothing.
TEST_F(CAudioWrapperTest, OutputIsIndependentOfTheHostBlockSize) {
    const size_t n = 9000;
    const auto x0 = test::uniformNoise(n, 11), x1 = test::uniformNoise(n, 12);
    CTestHost& h = make();
    for (const CFormat f : {CFormat{false, false}, CFormat{true, true}, CFormat{true, false}, CFormat{false, true}}) {
        h.stop();
        h.setInputFormat(2, f.isDouble, f.isInterleaved, 0, false, false);
        h.setOutputFormat(2, f.isDouble, f.isInterleaved);
        h.start();
        // The host's buffers as doubles; float streams hold the same values rounded once.
        const size_t width = f.isDouble ? sizeof(double) : sizeof(float);
        std::vector<unsigned char> in(2 * n * width), reference;
        auto at = [&](std::vector<unsigned char>& b, int32_t c, size_t i) -> unsigned char* {
            const size_t k = f.isInterleaved ? i * 2 + static_cast<size_t>(c) : static_cast<size_t>(c) * n + i;
            return b.data() + k * width;
        };
        auto get = [&](std::vector<unsigned char>& b, int32_t c, size_t i) {
            return f.isDouble ? *reinterpret_cast<double*>(at(b, c, i)) : *reinterpret_cast<float*>(at(b, c, i));
        };
        for (size_t i = 0; i < n; ++i) {
            for (int32_t c = 0; c < 2; ++c) {
                const double v = (c ? x1 : x0)[i];
                if (f.isDouble)
                    *reinterpret_cast<double*>(at(in, c, i)) = v;
                else
                    *reinterpret_cast<float*>(at(in, c, i)) = static_cast<float>(v);
            }
        }
        for (const int32_t block : {1, 7, 333, 512, 1300, 4096}) {
            h.stop();
            h.start();
            std::vector<unsigned char> out(in.size(), 0xff);
            for (size_t pos = 0; pos < n; pos += static_cast<size_t>(block)) {
                const int32_t frames = static_cast<int32_t>(std::min<size_t>(block, n - pos));
                const void* ip[2];
                void* op[2];
                for (int32_t c = 0; c < 2; ++c) {
                    ip[c] = at(in, f.isInterleaved ? 0 : c, pos);
                    op[c] = at(out, f.isInterleaved ? 0 : c, pos);
                }
                h.process(ip, op, frames);
            }
            if (reference.empty()) {
                reference = out;
                for (size_t i = 0; i < n; ++i) {
                    for (int32_t c = 0; c < 2; ++c) {
                        const double want = i < 64 ? 0.0 : 0.5 * get(in, c, i - 64);
                        ASSERT_EQ(get(out, c, i), want) << i;
                    }
                }
            }
            ASSERT_EQ(out, reference) << "block " << block << " double " << f.isDouble << " interleaved "
                                      << f.isInterleaved;
        }
    }
}

// A stored program or bank comes back whole, persistent values included. (The header-only and
// wrong-tag chunks are covered where the host meets them, in the adapter's tests.)
TEST_F(CAudioWrapperTest, StateRoundTrip) {
    CTestHost& h = make();
    param("gain").setValue(1.5, 0, nullptr, nullptr);
    param("bypass-enable").setValue(1.0, 0, nullptr, nullptr);
    CByteBuffer preset, bank;
    ASSERT_EQ(message(h.saveState(preset, true, true)), "");
    ASSERT_EQ(message(h.saveState(bank, false, true)), "");

    param("gain").setValue(0.1, 0, nullptr, nullptr);
    param("bypass-enable").setValue(0.0, 0, nullptr, nullptr);
    EXPECT_EQ(message(h.loadState(preset.data(), preset.size(), true, true)), "");
    EXPECT_DOUBLE_EQ(param("gain").getValue(0, 0, -1.0), 1.5);
    EXPECT_DOUBLE_EQ(param("bypass-enable").getValue(0, 0, -1.0), 1.0);
    param("gain").setValue(0.1, 0, nullptr, nullptr);
    EXPECT_EQ(message(h.loadState(bank.data(), bank.size(), false, true)), "");
    EXPECT_DOUBLE_EQ(param("gain").getValue(0, 0, -1.0), 1.5);
}

}  // namespace
