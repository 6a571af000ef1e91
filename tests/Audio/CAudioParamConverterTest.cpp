#include "Audio/Converters/CAudioParamConverter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <string>
#include <vector>

#include "Audio/CAudioParamInfo.h"
#include "Audio/Converters/CAudioParamConverterBW.h"
#include "Audio/Converters/CAudioParamConverterEnum.h"
#include "Audio/Converters/CAudioParamConverterFreq.h"
#include "Audio/Converters/CAudioParamConverterGain.h"
#include "Audio/Converters/CAudioParamConverterPercent.h"
#include "Audio/Converters/CAudioParamConverterRatio.h"
#include "Audio/Converters/CAudioParamConverterReal.h"
#include "Audio/Converters/CAudioParamConverterText.h"
#include "Audio/Converters/CAudioParamConverterTime.h"
#include "Audio/Converters/CConverterRegistration.h"
#include "Core/CError.h"
#include "tests/Support/CTestText.h"

using namespace orl;

namespace {

using test::str;

double dbToGain(double db) { return std::pow(10.0, db / 20.0); }

CAudioParamInfo rangeInfo(double lo, double hi) {
    CAudioParamInfo info;
    info.minima.add(lo);
    info.maxima.add(hi);
    return info;
}

class CAudioParamConverterTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(CConverterRegistration::ensureCreatorsRegistered());
        root = CObject::newRoot();
    }
    void TearDown() override { root->destroy(); }

    // A converter made the way the definitions make one; init must succeed.
    template <class T>
    T* make(const char* tag, std::vector<std::pair<const char*, const char*>> attrs = {}) {
        CAttrMap map;
        for (const auto& [k, v] : attrs) map[CString(k)].setText(CString(v));
        T* cvt = nullptr;
        CError* err = root->createChild(cvt, CString(tag), CString("cvt"), false, &map);
        EXPECT_EQ(err, nullptr) << (err ? str(err->text()) : "");
        deleteError(err);
        return cvt;
    }
    // The first message of a failing init.
    std::string initError(const char* tag, const char* attr, const char* value) {
        CAttrMap map;
        map[CString(attr)].setText(CString(value));
        CAudioParamConverter* cvt = nullptr;
        CError* err = root->createChild(cvt, CString(tag), CString("bad"), false, &map);
        std::string first = err ? str(err->line(0)) : "(no error)";
        deleteError(err);
        return first;
    }
    static std::string fmt(const CAudioParamConverter* c, const CAudioParamInfo& info, double v, int32_t mode = 0) {
        CString out("stale");
        c->format(out, info, 0, v, nullptr, mode);
        return str(out);
    }
    static std::vector<std::string> allModes(const CAudioParamConverter* c, const CAudioParamInfo& info, double v) {
        return {fmt(c, info, v, 0), fmt(c, info, v, 1), fmt(c, info, v, 2), fmt(c, info, v, 3)};
    }
    static double parse(const CAudioParamConverter* c, const CAudioParamInfo& info, const char* text, bool& ok) {
        return c->parseValue(info, 0, CString(text), ok);
    }

    CObject* root = nullptr;
};

using Modes = std::vector<std::string>;

TEST_F(CAudioParamConverterTest, NumberSyntaxAndFixedText) {
    const std::map<std::string, double> good = {{"42", 42.0},     {"+1.5", 1.5},   {"-2,25", -2.25}, {"1e3", 1000.0},
                                                {"1.5E-2", 0.015}, {".5", 0.5},     {"5.", 5.0},      {"-0", 0.0}};
    for (const auto& [text, expected] : good) {
        double v = -99.0;
        EXPECT_TRUE(CAudioParamConverter::parseNumber(CString(text.c_str()), v)) << text;
        EXPECT_DOUBLE_EQ(v, expected) << text;
    }
    for (const char* text : {"", " 1", "1 ", "1.5x", "1e", "e5", "+", "-.", "1..2", "1.2.3", "1,5,0", "inf", "nan",
                             "0x10", "1e999", "--1"}) {
        double v = 7.0;
        EXPECT_FALSE(CAudioParamConverter::parseNumber(CString(text), v)) << text;
        EXPECT_EQ(v, 7.0) << text;
    }
    // Half away from zero, the sign only when the rounded digits are not all zero.
    const std::vector<std::tuple<double, int, const char*>> fixed = {
        {2.5, 0, "3"},      {-2.5, 0, "-3"},   {0.125, 2, "0.13"},  {-0.04, 1, "0.0"},         {-0.06, 1, "-0.1"},
        {0.001, 3, "0.001"}, {1234.5678, 3, "1234.568"}, {-7.0, 2, "-7.00"}, {123456789.0, 0, "123456789"}};
    for (const auto& [x, d, expected] : fixed) {
        CString out("x=");
        CAudioParamConverter::appendFixed(out, x, d);
        EXPECT_EQ(str(out), std::string("x=") + expected) << x << " d=" << d;
    }
}

TEST_F(CAudioParamConverterTest, GainInDecibels) {
    auto* gain = make<CAudioParamConverterGain>(
        "audio:cvt-gain", {{"scale-power", "1.0"}, {"scale-threshold", "-1.0"}, {"decimals", "1"}, {"label", "dB"}});
    const CAudioParamInfo info = rangeInfo(dbToGain(-24.0), dbToGain(24.0));
    EXPECT_EQ(str(gain->label()), "dB");
    // The middle of a symmetric dB range is unity gain; the ends are the range's ends.
    EXPECT_NEAR(gain->normToValue(info, 0, 0.5), 1.0, 1e-12);
    EXPECT_NEAR(gain->normToDisplay(info, 0, 0.5), 0.0, 1e-12);
    EXPECT_NEAR(gain->normToDisplay(info, 0, 0.0), -24.0, 1e-12);
    EXPECT_NEAR(gain->normToDisplay(info, 0, 0.75), 12.0, 1e-12);
    EXPECT_NEAR(gain->displayToNorm(info, 0, -6.0), 0.375, 1e-12);
    EXPECT_NEAR(gain->displayToNorm(info, 0, 40.0), 1.0, 1e-12);

    bool ok = false;
    EXPECT_NEAR(parse(gain, info, "6", ok), dbToGain(6.0), 1e-12);
    EXPECT_TRUE(ok);
    EXPECT_NEAR(parse(gain, info, "-3,5", ok), dbToGain(-3.5), 1e-12);
    EXPECT_NEAR(parse(gain, info, "30", ok), dbToGain(24.0), 1e-12);
    EXPECT_DOUBLE_EQ(parse(gain, info, "abc", ok), info.minima[0]);
    EXPECT_FALSE(ok);
    EXPECT_DOUBLE_EQ(gain->parseRaw(info, 0, CString("abc"), ok), 1.0);
    EXPECT_FALSE(ok);

    EXPECT_EQ(allModes(gain, info, dbToGain(-3.456)), (Modes{"-3.5", "-3.5", "-3.5", "-3.46"}));
    EXPECT_EQ(allModes(gain, info, dbToGain(12.34)), (Modes{"12.3", "12", "12.3", "12.34"}));
    EXPECT_EQ(allModes(gain, info, dbToGain(0.004)), (Modes{"0.0", "0", "0.0", "0.00"}));
    auto* whole = make<CAudioParamConverterGain>("audio:cvt-gain", {{"decimals", "0"}});
    EXPECT_EQ(fmt(whole, info, dbToGain(-3.6)), "-4");
    EXPECT_EQ(fmt(whole, info, 0.0), "-inf");

    EXPECT_EQ(initError("audio:cvt-gain", "decimals", "11"), "Invalid 'decimals' attribute value 11 specified.");
    EXPECT_EQ(initError("audio:cvt-gain", "scale-power", "0"), "Invalid 'scale-power' attribute value 0 specified.");
    EXPECT_EQ(initError("audio:cvt-freq", "scale-power", "x"), "Invalid 'scale-power' attribute value x specified.");
    EXPECT_EQ(initError("audio:cvt-gain", "scale-threshold", "1.5"),
              "Invalid 'scale-threshold' attribute value 1.5 specified.");
}

TEST_F(CAudioParamConverterTest, LogScalePowerAndThreshold) {
    const CAudioParamInfo info = rangeInfo(dbToGain(-24.0), dbToGain(24.0));
    // Power 2 without threshold: x = n^(1/2), so norm 0.25 is the middle of the dB range.
    auto* bent = make<CAudioParamConverterGain>("audio:cvt-gain", {{"scale-power", "2"}});
    EXPECT_NEAR(bent->normToDisplay(info, 0, 0.25), 0.0, 1e-12);
    EXPECT_NEAR(bent->normToDisplay(info, 0, 0.64), -24.0 + 48.0 * 0.8, 1e-12);
    EXPECT_NEAR(bent->valueToNorm(info, 0, dbToGain(12.0)), 0.75 * 0.75, 1e-12);

    // Threshold 0.25: 0..0.25 covers -24..0 dB (bent by the power), 0.25..1 covers 0..24 dB.
    auto* split = make<CAudioParamConverterGain>("audio:cvt-gain", {{"scale-power", "2"}, {"scale-threshold", "0.25"}});
    EXPECT_NEAR(split->normToValue(info, 0, 0.25), 1.0, 1e-12);
    EXPECT_NEAR(split->normToDisplay(info, 0, 0.0), -24.0, 1e-12);
    EXPECT_NEAR(split->normToDisplay(info, 0, 1.0), 24.0, 1e-12);
    EXPECT_NEAR(split->normToDisplay(info, 0, 0.625), 12.0, 1e-12);
    EXPECT_NEAR(split->normToDisplay(info, 0, 0.125), -24.0 * (1.0 - std::sqrt(0.5)), 1e-12);
    EXPECT_NEAR(split->valueToNorm(info, 0, dbToGain(-24.0 * (1.0 - std::sqrt(0.5)))), 0.125, 1e-12);
    EXPECT_NEAR(split->valueToNorm(info, 0, dbToGain(18.0)), 0.25 + 0.75 * 0.75, 1e-12);
}

TEST_F(CAudioParamConverterTest, FrequencyTextAndForms) {
    auto* freq = make<CAudioParamConverterFreq>("audio:cvt-freq", {{"label", "Hz"}});
    const CAudioParamInfo info = rangeInfo(20.0, 20000.0);
    bool ok = false;
    EXPECT_DOUBLE_EQ(parse(freq, info, "1.5k", ok), 1500.0);
    EXPECT_TRUE(ok);
    EXPECT_DOUBLE_EQ(parse(freq, info, "2K", ok), 2000.0);
    EXPECT_DOUBLE_EQ(parse(freq, info, "440", ok), 440.0);
    EXPECT_DOUBLE_EQ(parse(freq, info, "50k", ok), 20000.0);
    for (const char* bad : {"k", "1.5kk", "1.5 k", "2kHz", "1.5M"}) {
        EXPECT_DOUBLE_EQ(parse(freq, info, bad, ok), 20.0) << bad;
        EXPECT_FALSE(ok) << bad;
    }
    // The middle of a log range is the geometric mean.
    EXPECT_NEAR(freq->normToValue(info, 0, 0.5), std::sqrt(20.0 * 20000.0), 1e-9);

    EXPECT_EQ(allModes(freq, info, 999.9), (Modes{"999.9", "1000", "999.9", "999.90"}));
    EXPECT_EQ(allModes(freq, info, 1000.0), (Modes{"1000", "1000", "1000", "1000.00"}));
    EXPECT_EQ(allModes(freq, info, 10000.0), (Modes{"10.00k", "10.0k", "10.00k", "10000.00"}));
    EXPECT_EQ(allModes(freq, info, 12.34), (Modes{"12.3", "12.3", "12.3", "12.34"}));
    EXPECT_EQ(allModes(freq, info, 123456.0), (Modes{"123.5k", "123k", "123.5k", "123456.00"}));
    // Rounding decides the form: 999.96 Hz would be "1000.0" with a decimal.
    EXPECT_EQ(fmt(freq, info, 999.96), "1000");
}

TEST_F(CAudioParamConverterTest, RatioSlopes) {
    auto* ratio = make<CAudioParamConverterRatio>("audio:cvt-ratio", {{"decimals", "2"}});
    // "1:1" to "6:1": the slope runs downwards.
    const CAudioParamInfo info = rangeInfo(1.0, 1.0 / 6.0);
    bool ok = false;
    EXPECT_DOUBLE_EQ(parse(ratio, info, "3", ok), 1.0 / 3.0);
    EXPECT_TRUE(ok);
    EXPECT_DOUBLE_EQ(parse(ratio, info, "3:1", ok), 1.0 / 3.0);
    EXPECT_DOUBLE_EQ(parse(ratio, info, "1.3:1", ok), 1.0 / 1.3);
    EXPECT_DOUBLE_EQ(ratio->parseRaw(info, 0, CString("1:2"), ok), 2.0);
    EXPECT_DOUBLE_EQ(parse(ratio, info, "1:2", ok), 1.0);
    EXPECT_DOUBLE_EQ(parse(ratio, info, "10:1", ok), 1.0 / 6.0);
    for (const char* bad : {"", "3:1:1", ":1", "3:", "0", "0:1", "3/1", "x:1"}) {
        EXPECT_DOUBLE_EQ(parse(ratio, info, bad, ok), 1.0) << bad;
        EXPECT_FALSE(ok) << bad;
        EXPECT_DOUBLE_EQ(ratio->parseRaw(info, 0, CString(bad), ok), 0.5) << bad;
    }
    EXPECT_EQ(allModes(ratio, info, 0.5), (Modes{"2.00:1", "2.0:1", "2.00:1", "2.00:1"}));
    EXPECT_EQ(allModes(ratio, info, 2.0), (Modes{"1:2.00", "1:2.0", "1:2.00", "1:2.00"}));
    EXPECT_EQ(allModes(ratio, info, 1.0 / 12.0), (Modes{"12.0:1", "12:1", "12.0:1", "12.0:1"}));
    EXPECT_EQ(fmt(ratio, info, 20.0), "1:20.0");
    EXPECT_EQ(fmt(ratio, info, 1.0), "1:1.00");
    EXPECT_NEAR(ratio->normToDisplay(info, 0, 1.0), 6.0, 1e-12);
    EXPECT_NEAR(ratio->displayToNorm(info, 0, 1.0), 0.0, 1e-12);
    EXPECT_EQ(initError("audio:cvt-ratio", "decimals", "0"), "Invalid decimals 0 specified.");
    EXPECT_EQ(initError("audio:cvt-ratio", "decimals", "11"), "Invalid decimals 11 specified.");
}

TEST_F(CAudioParamConverterTest, PercentRealAndBandwidth) {
    auto* percent = make<CAudioParamConverterPercent>("audio:cvt-percent", {{"label", "%"}});
    CAudioParamInfo info = rangeInfo(0.0, 1.0);
    bool ok = false;
    EXPECT_DOUBLE_EQ(parse(percent, info, "50", ok), 0.5);
    EXPECT_DOUBLE_EQ(parse(percent, info, "12,5", ok), 0.125);
    EXPECT_DOUBLE_EQ(percent->normToDisplay(info, 0, 0.25), 25.0);
    EXPECT_EQ(allModes(percent, info, 0.5678), (Modes{"56.8", "57", "56.8", "56.78"}));
    // The first switch names its value, in both directions.
    info.switchValues.add(0.0);
    info.switchNames.add(CString("Off"));
    EXPECT_DOUBLE_EQ(parse(percent, info, "Off", ok), 0.0);
    EXPECT_TRUE(ok);
    EXPECT_EQ(fmt(percent, info, 0.004), "Off");
    EXPECT_EQ(fmt(percent, info, 0.01), "1.0");

    auto* real1 = make<CAudioParamConverterReal>("audio:cvt-real", {{"decimals", "1"}});
    auto* real2 = make<CAudioParamConverterReal>("audio:cvt-real", {{"decimals", "2"}});
    auto* real0 = make<CAudioParamConverterReal>("audio:cvt-real", {{"decimals", "0"}});
    CAudioParamInfo range = rangeInfo(-60.0, 12.0);
    EXPECT_EQ(allModes(real1, range, -24.0), (Modes{"-24.0", "-24", "-24.0", "-24.00"}));
    EXPECT_EQ(allModes(real2, range, 5.432), (Modes{"5.43", "5.4", "5.43", "5.43"}));
    EXPECT_EQ(allModes(real0, range, 5.432), (Modes{"5", "5.4", "5", "5"}));
    EXPECT_DOUBLE_EQ(real1->normToValue(range, 0, 0.5), -24.0);
    // An inverted range runs downwards and clamps to whichever end is near.
    const CAudioParamInfo down = rangeInfo(10.0, -10.0);
    EXPECT_DOUBLE_EQ(real1->normToValue(down, 0, 0.25), 5.0);
    EXPECT_DOUBLE_EQ(real1->valueToNorm(down, 0, -50.0), 1.0);
    EXPECT_DOUBLE_EQ(real1->parseValue(down, 0, CString("15"), ok), 10.0);
    EXPECT_DOUBLE_EQ(real1->parseValue(down, 0, CString("-15"), ok), -10.0);
    EXPECT_DOUBLE_EQ(real1->parseRaw(range, 0, CString("?"), ok), 0.0);
    // Within 0.5 % of a switch value counts as the switch.
    range.switchValues.add(12.0);
    range.switchNames.add(CString("Max"));
    EXPECT_EQ(fmt(real1, range, 12.05), "Max");
    EXPECT_EQ(fmt(real1, range, 11.9), "11.9");
    EXPECT_EQ(initError("audio:cvt-real", "decimals", "11"), "Invalid 'decimals' attribute value 11 specified.");

    auto* bw = make<CAudioParamConverterBW>("audio:cvt-bw", {{"label", "Oct"}});
    const CAudioParamInfo oct = rangeInfo(0.1, 4.0);
    EXPECT_NEAR(bw->normToValue(oct, 0, 0.5), 0.1 + 3.9 * 0.25, 1e-12);
    EXPECT_NEAR(bw->valueToNorm(oct, 0, 0.1 + 3.9 * 0.81), 0.9, 1e-12);
    EXPECT_EQ(allModes(bw, oct, 3.2), (Modes{"3.20", "3.20", "3.20", "3.200"}));
    EXPECT_DOUBLE_EQ(bw->parseRaw(oct, 0, CString("wide"), ok), 0.001);
    EXPECT_FALSE(ok);
}

TEST_F(CAudioParamConverterTest, TimeInUnitsOfScale) {
    auto* ms = make<CAudioParamConverterTime>(
        "audio:cvt-time",
        {{"scale", "0.001"}, {"label", "ms"}, {"is-log", "false"}, {"is-exact", "false"}, {"is-precise", "false"}});
    const CAudioParamInfo attack = rangeInfo(0.005, 0.1);
    bool ok = false;
    EXPECT_DOUBLE_EQ(parse(ms, attack, "20", ok), 0.02);
    EXPECT_NEAR(ms->normToDisplay(attack, 0, 1.0), 100.0, 1e-12);
    // Not exact: quadratic, so the short times get more of the knob.
    EXPECT_NEAR(ms->normToValue(attack, 0, 0.5), 0.005 + 0.095 * 0.25, 1e-15);
    EXPECT_NEAR(ms->displayToNorm(attack, 0, 5.0 + 95.0 * 0.36), 0.6, 1e-12);
    EXPECT_EQ(allModes(ms, attack, 0.00234), (Modes{"2.34", "2.3", "2.34", "2.34"}));
    EXPECT_EQ(allModes(ms, attack, 0.023456), (Modes{"23.5", "23", "23.5", "23.46"}));
    EXPECT_EQ(allModes(ms, attack, 0.2344), (Modes{"234", "234", "234", "234.40"}));
    EXPECT_EQ(allModes(ms, attack, 2.5), (Modes{"2500", "2.5*", "2500", "2500.00"}));
    EXPECT_EQ(fmt(ms, attack, 15.0, 1), "15*");
    EXPECT_EQ(fmt(ms, attack, 0.00004, 1), "0");

    auto* precise = make<CAudioParamConverterTime>("audio:cvt-time", {{"scale", "0.001"}, {"is-precise", "true"}});
    auto* exact = make<CAudioParamConverterTime>("audio:cvt-time", {{"scale", "0.001"}, {"is-exact", "true"}});
    auto* exactPrecise = make<CAudioParamConverterTime>(
        "audio:cvt-time", {{"scale", "0.001"}, {"is-exact", "true"}, {"is-precise", "true"}});
    EXPECT_EQ(fmt(precise, attack, 0.023456), "23.46");
    EXPECT_EQ(fmt(precise, attack, 0.2344), "234.4");
    EXPECT_EQ(fmt(exact, attack, 0.023456), "23");
    EXPECT_EQ(fmt(exactPrecise, attack, 0.023456), "23.5");
    EXPECT_NEAR(exact->normToValue(attack, 0, 0.5), 0.0525, 1e-15);

    auto* logTime = make<CAudioParamConverterTime>("audio:cvt-time", {{"scale", "0.001"}, {"is-log", "true"}});
    const CAudioParamInfo rms = rangeInfo(0.001, 1.0);
    EXPECT_NEAR(logTime->normToValue(rms, 0, 0.5), std::sqrt(0.001), 1e-15);
    EXPECT_NEAR(logTime->valueToNorm(rms, 0, 0.1), 2.0 / 3.0, 1e-12);
    EXPECT_EQ(initError("audio:cvt-time", "scale", "0"), "Invalid scale 0 specified.");
    EXPECT_EQ(initError("audio:cvt-time", "scale", "-0.001"), "Invalid scale -0.001 specified.");
}

TEST_F(CAudioParamConverterTest, EnumStates) {
    auto* enable = make<CAudioParamConverterEnum>(
        "audio:cvt-enum", {{"is-boolean", "true"}, {"is-discrete", "true"}, {"state-names", "Off;On"}});
    const CAudioParamInfo onOff = rangeInfo(0.0, 1.0);
    EXPECT_TRUE(enable->isDiscrete());
    EXPECT_EQ(enable->ownStateCount(), 2);
    EXPECT_EQ(allModes(enable, onOff, 1.0), (Modes{"On", "On", "On", "On"}));
    EXPECT_EQ(allModes(enable, onOff, 2.0), (Modes{"Reserve", "Rsv", "Reserve", "Reserve"}));
    EXPECT_EQ(fmt(enable, onOff, -1.0), "Reserve");
    bool ok = false;
    EXPECT_DOUBLE_EQ(parse(enable, onOff, "On", ok), 1.0);
    EXPECT_TRUE(ok);

    // A boolean without names of its own still says Off and On.
    auto* bare = make<CAudioParamConverterEnum>("audio:cvt-enum", {{"is-boolean", "true"}});
    EXPECT_EQ(fmt(bare, onOff, 0.0), "Off");

    // A plain enum takes the parameter's states, counted from the rounded minimum.
    auto* plain = make<CAudioParamConverterEnum>("audio:cvt-enum", {{"is-boolean", ""}, {"is-discrete", "true"}});
    CAudioParamInfo shapes = rangeInfo(3.0, 5.0);
    EXPECT_EQ(fmt(plain, shapes, 4.0), "4");
    ASSERT_EQ(CAudioParamInfo::parseStateList(CString("Lo-shelf|Lo-shlf;Peak;High shelf"), shapes.stateNames,
                                              shapes.shortStateNames, CString()),
              nullptr);
    EXPECT_EQ(allModes(plain, shapes, 3.0), (Modes{"Lo-shelf", "Lo-", "Lo-shlf", "Lo-shelf"}));
    EXPECT_EQ(allModes(plain, shapes, 5.2), (Modes{"High shelf", "Hig", "High sh", "High shelf"}));
    EXPECT_EQ(fmt(plain, shapes, 6.0), "Reserve");
    EXPECT_EQ(fmt(plain, shapes, 2.0, 1), "Rsv");
    EXPECT_DOUBLE_EQ(parse(plain, shapes, "Peak", ok), 4.0);
    EXPECT_DOUBLE_EQ(parse(plain, shapes, "Lo-shlf", ok), 3.0);
    EXPECT_TRUE(ok);
    EXPECT_DOUBLE_EQ(parse(plain, shapes, "9", ok), 5.0);
    EXPECT_TRUE(ok);
    EXPECT_DOUBLE_EQ(parse(plain, shapes, "peak", ok), 3.0);
    EXPECT_FALSE(ok);
    EXPECT_DOUBLE_EQ(plain->normToValue(shapes, 0, 0.3), 4.0);
    EXPECT_DOUBLE_EQ(plain->valueToNorm(shapes, 0, 4.0), 0.5);
}

TEST_F(CAudioParamConverterTest, TextComesFromTheDataTable) {
    auto* text = make<CAudioParamConverterText>("audio:cvt-text", {{"is-discrete", "true"}});
    const CAudioParamInfo info = rangeInfo(0.0, CAudioParamInfo::kNonNumericMaximum);
    bool ok = false;
    EXPECT_DOUBLE_EQ(parse(text, info, "anything at all", ok), 0.0);
    EXPECT_TRUE(ok);
    EXPECT_DOUBLE_EQ(parse(text, info, "12", ok), 12.0);

    // The table type belongs to the storage; here a map stands in for it behind the reader.
    static std::map<int32_t, std::string> table = {{3, "Vocals"}, {4, ""}};
    const auto* handle = reinterpret_cast<const CAudioParamData*>(&table);
    EXPECT_EQ(fmt(text, info, 3.0), "");  // no reader yet
    CAudioParamConverterText::setDataTextReader([](const CAudioParamData* t, int32_t id, CString& out) {
        const auto& m = *reinterpret_cast<const std::map<int32_t, std::string>*>(t);
        auto it = m.find(id);
        if (it == m.end()) return false;
        out = it->second.c_str();
        return true;
    });
    CString out;
    text->format(out, info, 0, 3.0, handle, 0);
    EXPECT_EQ(str(out), "Vocals");
    text->format(out, info, 0, 5.0, handle, 0);
    EXPECT_EQ(str(out), "");
    text->format(out, info, 0, 3.0, nullptr, 0);
    EXPECT_EQ(str(out), "");
    CAudioParamConverterText::setDataTextReader(nullptr);
}

// Every converter over its range: norm -> value -> norm comes back, values stay in range, and
// text -> value -> text is stable. Linear ones are also run on an inverted range.
TEST_F(CAudioParamConverterTest, SweepsRoundTripAndRejectBadText) {
    struct Case {
        CAudioParamConverter* cvt;
        CAudioParamInfo info;
        // Ratio and time pick their form from the unrounded value (ratio by 1000 / value, time by
        // the whole units), so a value at the edge of two forms may read back as the same number
        // in the other form ("1.00:1" gives 1, which prints "1:1.00").
        bool formEdges = false;
    };
    std::vector<Case> cases;
    cases.push_back({make<CAudioParamConverterGain>("audio:cvt-gain"), rangeInfo(dbToGain(-60.0), dbToGain(60.0))});
    cases.push_back({make<CAudioParamConverterGain>("audio:cvt-gain", {{"scale-power", "1.7"}, {"scale-threshold", "0.3"}}),
                     rangeInfo(dbToGain(-24.0), dbToGain(24.0))});
    cases.push_back({make<CAudioParamConverterFreq>("audio:cvt-freq"), rangeInfo(20.0, 20000.0)});
    cases.push_back({make<CAudioParamConverterFreq>("audio:cvt-freq", {{"scale-power", "0.5"}}), rangeInfo(1.0, 96000.0)});
    cases.push_back({make<CAudioParamConverterBW>("audio:cvt-bw"), rangeInfo(0.05, 4.0)});
    cases.push_back({make<CAudioParamConverterRatio>("audio:cvt-ratio"), rangeInfo(1.0, 1.0 / 6.0), true});
    cases.push_back({make<CAudioParamConverterRatio>("audio:cvt-ratio"), rangeInfo(1.0, 4.0), true});
    cases.push_back({make<CAudioParamConverterReal>("audio:cvt-real", {{"decimals", "1"}}), rangeInfo(-60.0, 12.0)});
    cases.push_back({make<CAudioParamConverterReal>("audio:cvt-real"), rangeInfo(8192.0, 10.0)});
    cases.push_back({make<CAudioParamConverterPercent>("audio:cvt-percent"), rangeInfo(0.0, 1.0)});
    cases.push_back({make<CAudioParamConverterPercent>("audio:cvt-percent"), rangeInfo(1.0, -1.0)});
    cases.push_back({make<CAudioParamConverterTime>("audio:cvt-time", {{"scale", "0.001"}}), rangeInfo(0.0, 5.0), true});
    cases.push_back({make<CAudioParamConverterTime>("audio:cvt-time", {{"scale", "0.001"}, {"is-exact", "true"}}),
                     rangeInfo(0.0, 0.01)});
    cases.push_back({make<CAudioParamConverterTime>("audio:cvt-time", {{"scale", "0.001"}, {"is-log", "true"}}),
                     rangeInfo(0.1, 10.0)});
    cases.push_back({make<CAudioParamConverterEnum>("audio:cvt-enum"), rangeInfo(-3.0, 3.0)});
    cases.push_back({make<CAudioParamConverterEnum>("audio:cvt-enum", {{"state-names", "A;B;C;D;E"}}), rangeInfo(0.0, 4.0)});

    int32_t edgeHits = 0;
    for (size_t c = 0; c < cases.size(); ++c) {
        const CAudioParamConverter* cvt = cases[c].cvt;
        const CAudioParamInfo& info = cases[c].info;
        const double lo = std::min(info.minima[0], info.maxima[0]);
        const double hi = std::max(info.minima[0], info.maxima[0]);
        for (int32_t k = 0; k <= 256; ++k) {
            const double n = k / 256.0;
            const double v = cvt->normToValue(info, 0, n);
            ASSERT_GE(v, lo - 1e-12 * (1.0 + std::fabs(lo))) << "case " << c << " n=" << n;
            ASSERT_LE(v, hi + 1e-12 * (1.0 + std::fabs(hi))) << "case " << c << " n=" << n;
            const double back = cvt->valueToNorm(info, 0, v);
            if (cvt->isDiscrete() || dynamic_cast<const CAudioParamConverterEnum*>(cvt)) {
                // Steps: the norm lands on its step, which gives the same value again.
                ASSERT_DOUBLE_EQ(cvt->normToValue(info, 0, back), v) << "case " << c << " n=" << n;
            } else {
                ASSERT_NEAR(back, n, 1e-9) << "case " << c << " n=" << n;
            }
            for (int32_t mode = 0; mode < 4; ++mode) {
                // Compact text is for reading only ("2.5*" thousands, cut state names).
                if (mode == CAudioParamConverter::kFormatCompact) continue;
                CString text;
                cvt->format(text, info, 0, v, nullptr, mode);
                bool ok = false;
                const double parsed = cvt->parseValue(info, 0, text, ok);
                ASSERT_TRUE(ok) << "case " << c << " text " << str(text);
                CString again;
                cvt->format(again, info, 0, parsed, nullptr, mode);
                if (cases[c].formEdges && again != text) {
                    ++edgeHits;
                    ASSERT_EQ(cvt->parseValue(info, 0, again, ok), parsed) << "case " << c << " " << str(again);
                    continue;
                }
                ASSERT_EQ(str(again), str(text)) << "case " << c << " mode " << mode;
            }
        }
        // Nothing but a number (or a state) is understood: the minimum comes back.
        for (const char* bad : {"", "12abc", "1 2", "--"}) {
            bool ok = true;
            EXPECT_DOUBLE_EQ(cvt->parseValue(info, 0, CString(bad), ok), info.minima[0]) << "case " << c << " " << bad;
            EXPECT_FALSE(ok) << "case " << c << " '" << bad << "'";
        }
        // Clamping keeps values between the ends, whichever is larger.
        EXPECT_DOUBLE_EQ(CAudioParamConverter::clampToRange(info, 0, hi + 1000.0), hi);
        EXPECT_DOUBLE_EQ(CAudioParamConverter::clampToRange(info, 0, lo - 1000.0), lo);
        EXPECT_DOUBLE_EQ(CAudioParamConverter::clampToRange(info, 0, 0.5 * (lo + hi)), 0.5 * (lo + hi));
    }
    // Edges are narrow bands: a handful of the sweep's points at most.
    EXPECT_LE(edgeHits, 10);
}

}  // namespace
