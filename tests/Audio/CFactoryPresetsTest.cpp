#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "Audio/CAudioParam.h"
#include "Audio/CAudioParamChange.h"
#include "Audio/CAudioParamCollector.h"
#include "Audio/CAudioParamUndo.h"
#include "Audio/CAudioParamInfo.h"
#include "Audio/CAudioParamRegistry.h"
#include "Audio/CAudioParamStorage.h"
#include "Audio/CAudioPreset.h"
#include "Audio/CAudioPresetBank.h"
#include "Audio/CAudioWrapper.h"
#include "Core/CAppData.h"
#include "Core/CAppDataGlobal.h"
#include "Core/CAppDataLocal.h"
#include "Core/CApplication.h"
#include "Core/CByteBuffer.h"
#include "Core/CByteBufferWriter.h"
#include "Core/CMemoryReader.h"
#include "Core/CObject.h"
#include "Other/CAudioInterfaceClient.h"
#include "Other/CHeadlessInterfaceClient.h"
#include "Other/CParamInterfaceParamListener.h"
#include "tests/Support/CTestText.h"

using namespace orl;
using test::message;
using test::str;

namespace {

class CQuietHost : public CAudioWrapper {
public:
    void hostAutomate(int32_t, double) override {}
    void hostUpdateDisplay() override {}
    void hostBeginEdit(int32_t) override {}
    void hostEndEdit(int32_t) override {}
    void hostResizeWindow(int32_t, int32_t) override {}
};

const char* const kProgramItems[] = {
    "bypass-enable", "groupsel", "instance-name", "io-params.group-names", "io-params.grouping",
    "io-params.in-channel-names", "io-params.in-routing", "io-params.ms-pairs", "io-params.out-routing",
    "io-params.show-all-channels", "modTamberlo.auto-gain", "modTamberlo.comp-params.attack",
    "modTamberlo.comp-params.attack-mult", "modTamberlo.comp-params.chlink", "modTamberlo.comp-params.drymix",
    "modTamberlo.comp-params.hislope", "modTamberlo.comp-params.hsenable", "modTamberlo.comp-params.inertia",
    "modTamberlo.comp-params.knee", "modTamberlo.comp-params.lookahead", "modTamberlo.comp-params.mode-name",
    "modTamberlo.comp-params.release-mult", "modTamberlo.graphmode", "modTamberlo.outgain1",
    "modTamberlo.outgain2", "modTamberlo.ratio", "modTamberlo.threshold", "oversampling", "preset-name"};

class CFactoryPresetsTest : public ::testing::Test {
protected:
    void SetUp() override {
        CApplication::CSetup setup;  // the library's own resources, as the plug-in loads them
        ASSERT_TRUE(CApplication::load(setup));
        host = std::make_unique<CQuietHost>();
        ASSERT_EQ(message(host->init()), "");
        host->finishInit();
    }
    void TearDown() override {
        host.reset();
        CApplication::unload();
    }
    CAudioParam& param(const char* local) {
        return *host->collector()->getParam(CString("plugin.modMain.") + CString(local));
    }
    // The number that def-values text gives for a parameter, through its own converter.
    double parsed(const char* local, const char* text) {
        CAudioParamInfo info = *param(local).info();
        EXPECT_EQ(message(info.parseDefValues(CString(text))), "");
        return info.defaultNumbers.isEmpty() ? -1.0 : info.defaultNumbers[0];
    }
    std::string textOf(const char* local, int32_t group) {
        CString t;
        param(local).getString(t, group, 0);
        return str(t);
    }
    static std::vector<std::string> names(const CAudioPresetBank& bank) {
        std::vector<std::string> out;
        for (int32_t i = 0; i < bank.count(); ++i) out.push_back(str(bank.preset(i).name()));
        return out;
    }
    // An item as a reader sees it, in each of the 8 groups: the path, then the numbers, or the
    // texts of string elements. A group that an item leaves empty reads the stand-ins, as the
    // modules do; data ids are the table's own business and may differ between equal items.
    static std::string describeItem(const CByteBuffer& bytes) {
        CMemoryReader in(bytes.data(), bytes.size());
        CString path;
        CAudioParamStorage storage;
        if (in.readString(path) || storage.load(in, -1)) return "unreadable";
        std::string out = str(path);
        for (int32_t g = 0; g < 8; ++g) {
            out += " |";
            for (int32_t e = 0; e < storage.elementCount(0); ++e) {
                CString text;
                if (storage.dataType() != CAudioParamInfo::kNumeric)
                    out += " " + (storage.getText(g, e, text) ? str(text) : std::string("-"));
                else
                    out += " " + std::to_string(storage.getValue(g, e, -12345.0));
            }
        }
        return out;
    }
    static CAudioPresetBank storedList(CAppData& scope, const char* name) {
        CByteBuffer bytes;
        scope.read(CString(name), bytes, CAppData::kTypePresetList);
        CAudioPresetBank bank;
        CMemoryReader in(bytes.data(), bytes.size());
        EXPECT_EQ(message(bank.readList(in)), "");
        return bank;
    }

    // Program-like material, 4 s of stereo at 48 kHz: a kick every half second over a bass line
    // and a bed of noise. Returns the gain (dB) that a program applies, in 20 ms windows of the
    // last 2 s, the output aligned with the input by the reported latency.
    std::vector<double> gainOverMaterial(int32_t program) {
        host->registry()->setProgram(program, nullptr);
        host->setSampleRate(48000.0);
        host->setInputFormat(2, false, false, 0, false, false);
        host->setOutputFormat(2, false, false);
        host->start();
        const int32_t rate = 48000, n = 4 * rate;
        std::vector<float> in(n), outL(n), outR(n);
        uint32_t noise = 1;
        for (int32_t i = 0; i < n; ++i) {
            const double t = static_cast<double>(i) / rate;
            const double beat = std::fmod(t, 0.5);
            const double kick = 0.9 * std::exp(-beat * 18.0) * std::sin(2.0 * M_PI * (50.0 + 90.0 * std::exp(-beat * 30.0)) * beat);
            noise = noise * 1664525u + 1013904223u;
            const double hiss = 0.05 * (static_cast<double>(noise >> 8) / 8388608.0 - 1.0);
            in[i] = static_cast<float>(kick + 0.2 * std::sin(2.0 * M_PI * 55.0 * t) + hiss);
        }
        for (int32_t at = 0; at < n; at += 512) {
            const void* ip[] = {in.data() + at, in.data() + at};
            void* op[] = {outL.data() + at, outR.data() + at};
            host->process(ip, op, std::min(512, n - at));
        }
        host->stop();
        const int32_t latency = static_cast<int32_t>(host->getLatency());
        std::vector<double> gains;
        const int32_t window = rate / 50;
        for (int32_t at = 2 * rate; at + window + latency <= n; at += window) {
            double ei = 0.0, eo = 0.0;
            for (int32_t i = at; i < at + window; ++i) {
                ei += static_cast<double>(in[i]) * in[i];
                eo += static_cast<double>(outL[i + latency]) * outL[i + latency];
            }
            gains.push_back(10.0 * std::log10((eo + 1e-20) / (ei + 1e-20)));
        }
        return gains;
    }
    static double mean(const std::vector<double>& v) {
        double s = 0.0;
        for (double x : v) s += x;
        return s / static_cast<double>(v.size());
    }
    static double spread(const std::vector<double>& v) {
        const double m = mean(v);
        double s = 0.0;
        for (double x : v) s += (x - m) * (x - m);
        return std::sqrt(s / static_cast<double>(v.size()));
    }

    std::unique_ptr<CQuietHost> host;
};

}  // namespace

// The six programs come from the library's factory bank, each with the same 29 items, and the
// host sees them as its programs.
TEST_F(CFactoryPresetsTest, TheFactoryBankHoldsSixProgramsOfTwentyNineItems) {
    CAudioParamRegistry& r = *host->registry();
    const std::vector<std::string> expected = {"qwpc:Default", "qwpc:Fast", "qwpc:Pumping",
                                               "qwpc:Fast Pump", "qwpc:Squashing", "qwpc:Slow"};
    EXPECT_EQ(names(r.factoryBank()), expected);
    EXPECT_EQ(names(r.sessionBank()), expected);
    EXPECT_EQ(r.getProgramCount(), 6);
    for (int32_t i = 0; i < r.factoryBank().count(); ++i) {
        const CAudioPreset& p = r.factoryBank().preset(i);
        std::vector<std::string> keys;
        for (const auto& [key, bytes] : p.items()) keys.push_back(str(key));
        EXPECT_EQ(keys, std::vector<std::string>(std::begin(kProgramItems), std::end(kProgramItems))) << str(p.name());
    }
}

// A program sets what its source says in every group, names itself, and leaves everything it
// doesn't mention at the default; captured, compressed and read back, it restores every stored
// value exactly.
TEST_F(CFactoryPresetsTest, ProgramsSetTheirValuesAndRoundTripExactly) {
    CAudioParamRegistry& r = *host->registry();
    r.setProgram(4, nullptr);  // "Squashing"
    for (int32_t g : {0, 7}) {
        EXPECT_EQ(param("modTamberlo.comp-params.attack").getValue(g, 0, -1.0), parsed("modTamberlo.comp-params.attack", "10"));
        EXPECT_EQ(param("modTamberlo.ratio").getValue(g, 0, -1.0), parsed("modTamberlo.ratio", "3:1"));
        EXPECT_EQ(param("modTamberlo.comp-params.hsenable").getValue(g, 0, -1.0), 1.0);
        EXPECT_EQ(textOf("modTamberlo.comp-params.mode-name", g), "Squashing");
    }
    EXPECT_EQ(textOf("preset-name", 0), "Squashing");
    EXPECT_EQ(param("modTamberlo.comp-params.drymix").getValue(3, 0, -1.0), parsed("modTamberlo.comp-params.drymix", "0"));
    EXPECT_EQ(param("oversampling").getValue(0, 0, -1.0), 1.0);  // "1X"

    for (int32_t i = 0; i < r.factoryBank().count(); ++i) {
        ASSERT_EQ(message(r.activateFactoryPreset(i)), "");
        CByteBuffer packed;
        {
            CByteBufferWriter out(packed);
            CAudioPreset captured;
            r.capturePreset(captured, -1);
            ASSERT_EQ(message(captured.writeCompressed(out)), "");
        }
        r.masterReset();
        CMemoryReader in(packed.data(), packed.size());
        CAudioPreset back;
        ASSERT_EQ(message(back.readCompressed(in)), "");
        CByteBuffer plain;
        {
            CByteBufferWriter out(plain);
            ASSERT_EQ(message(back.write(out)), "");
        }
        CMemoryReader record(plain.data(), plain.size());
        ASSERT_EQ(message(r.activatePreset(record, true, -1)), "");
        CAudioPreset again;
        r.capturePreset(again, -1);
        const CAudioPreset& factory = r.factoryBank().preset(i);
        for (const auto& [key, bytes] : factory.items()) {
            const CByteBuffer* now = again.findItem(key);
            ASSERT_NE(now, nullptr) << str(key);
            EXPECT_EQ(describeItem(*now), describeItem(bytes)) << str(factory.name());
        }
    }
}

// The stored lists' defaults: six compressor modes, one group each, named like the programs, and
// fifteen routings, of which only those with mid/side pairs need mid/side.
TEST_F(CFactoryPresetsTest, ThePresetListsHaveTheirDefaults) {
    const CAudioPresetBank modes = storedList(CAppDataLocal::instance(), "comp-presets");
    EXPECT_EQ(names(modes), (std::vector<std::string>{"qwpc1:Default", "qwpc1:Fast", "qwpc1:Pumping",
                                                      "qwpc1:Fast Pump", "qwpc1:Squashing", "qwpc1:Slow"}));
    for (int32_t i = 0; i < modes.count(); ++i) EXPECT_EQ(modes.preset(i).count(), 11) << i;

    const CAudioPresetBank routings = storedList(CAppDataGlobal::instance(), "routing-presets-sys");
    ASSERT_EQ(routings.count(), 15);
    int32_t needMidSide = 0;
    for (int32_t i = 0; i < routings.count(); ++i) {
        const CAudioPreset& p = routings.preset(i);
        EXPECT_EQ(str(p.name()).rfind("ORIO:", 0), 0u);
        EXPECT_TRUE(CAudioParamRegistry::isPresetUsable(p, true, false)) << str(p.name());
        if (!CAudioParamRegistry::isPresetUsable(p, false, false)) ++needMidSide;
    }
    EXPECT_EQ(needMidSide, 3);

    // A routing applies through its registry: 5.1 spreads six inputs over four groups.
    auto* io = dynamic_cast<CAudioParamRegistry*>(host->instanceRoot()->findObject(CString("plugin.param-registry-io")));
    ASSERT_NE(io, nullptr);
    const CAudioPreset* surround = nullptr;
    for (int32_t i = 0; i < routings.count(); ++i) {
        if (str(routings.preset(i).name()) == "ORIO:5.1") surround = &routings.preset(i);
    }
    ASSERT_NE(surround, nullptr);
    CByteBuffer plain;
    {
        CByteBufferWriter out(plain);
        ASSERT_EQ(message(surround->write(out)), "");
    }
    CMemoryReader in(plain.data(), plain.size());
    ASSERT_EQ(message(io->activatePreset(in, false, -1)), "");
    std::vector<double> grouping;
    for (int32_t e = 0; e < 8; ++e) grouping.push_back(param("io-params.grouping").getValue(0, e, -1.0));
    EXPECT_EQ(grouping, (std::vector<double>{0, 0, 1, 2, 3, 3, 0, 0}));
    EXPECT_EQ(param("io-params.in-routing").getValue(0, 5, -1.0), 6.0);
}

// The programs do what their names say on program material. Auto gain makes up the level, so the
// measure is how the gain moves over the beat: the pumping programs move it far more than the
// slow one, and Squashing, with the lowest threshold and highest ratio, flattens the beat's
// level contour the most (the output's level spread against the input's).
TEST_F(CFactoryPresetsTest, ProgramsBehaveLikeTheirNamesOnProgramMaterial) {
    const std::vector<double> slow = gainOverMaterial(5);
    const std::vector<double> pumping = gainOverMaterial(2);
    const std::vector<double> fastPump = gainOverMaterial(3);
    const std::vector<double> squash = gainOverMaterial(4);
    const std::vector<double> normal = gainOverMaterial(0);
    ASSERT_FALSE(slow.empty());
    EXPECT_GT(spread(pumping), spread(normal));
    EXPECT_GT(spread(pumping), 2.0 * spread(slow));
    EXPECT_GT(spread(fastPump), 2.0 * spread(slow));
    // The more the gain follows the beat, the flatter the output: Squashing's gain moves the most.
    EXPECT_GT(spread(squash), spread(normal));
    RecordProperty("gain spread dB (default, pumping, fast pump, squashing, slow)",
                   std::to_string(spread(normal)) + " " + std::to_string(spread(pumping)) + " " +
                       std::to_string(spread(fastPump)) + " " + std::to_string(spread(squash)) + " " +
                       std::to_string(spread(slow)));
}

// A control's hand edit marks the state as edited: the program and the compressor mode of the
// edited group are renamed "User", within the same undo step as the edit.
TEST_F(CFactoryPresetsTest, AHandEditNamesTheStateUser) {
    struct CNoControl : CParamInterfaceParamListener {
        void onUpdate(const CAudioParamChange&) override {}
    } control;
    host->registry()->setProgram(1, nullptr);  // "Fast"
    CHeadlessInterfaceClient* made = nullptr;
    ASSERT_EQ(message(CHeadlessInterfaceClient::create(made, host->instanceRoot())), "");
    std::unique_ptr<CHeadlessInterfaceClient> window(made);
    CAudioInterfaceClient& c = *window->client();
    const uint32_t id = c.listenParam(CString("plugin.modMain.modTamberlo.comp-params.knee"), &control);
    const uint32_t undo = c.createUndoData(CString("Knee"));
    const double knee = 10.0;
    CAudioParamChange r;
    r.group = 2;
    r.count = 1;
    r.singleElement = true;
    r.numbers = &knee;
    ASSERT_EQ(message(c.changeParam(id, undo, r)), "");
    ASSERT_EQ(message(c.submitUndoData(undo)), "");
    EXPECT_EQ(param("modTamberlo.comp-params.knee").getValue(2, 0, -1.0), 10.0);
    EXPECT_EQ(textOf("preset-name", 0), "User");
    EXPECT_EQ(textOf("modTamberlo.comp-params.mode-name", 2), "User");
    EXPECT_EQ(textOf("modTamberlo.comp-params.mode-name", 1), "Fast");
    CString name;
    host->registry()->getPresetName(name);
    EXPECT_EQ(str(name), "qwpc:User");
    // Undoing the step brings the value and both names back.
    host->registry()->undo()->setPosition(host->registry()->undo()->count() - 1, true);
    EXPECT_EQ(textOf("modTamberlo.comp-params.mode-name", 2), "Fast");
    EXPECT_EQ(textOf("preset-name", 0), "Fast");
}
