#include "Audio/CAudioParamInfo.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "Audio/Converters/CAudioParamConverterGain.h"
#include "Audio/Converters/CAudioParamConverterRatio.h"
#include "Audio/Converters/CConverterRegistration.h"
#include "Core/CError.h"
#include "Core/CObject.h"
#include "tests/Support/CTestText.h"

using namespace orl;

namespace {

using test::str;
using test::message;

std::vector<std::string> strs(const CArray<CString>& a) {
    std::vector<std::string> out;
    for (const CString& s : a) out.push_back(str(s));
    return out;
}

std::vector<double> nums(const CArray<double>& a) { return std::vector<double>(a.begin(), a.end()); }

// The message of an error, which is then deleted; "" for none.

using Strings = std::vector<std::string>;

// A tree with the converters below audio.paramcvt and parameter nodes made from attribute lists.
class CAudioParamInfoTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(CConverterRegistration::ensureCreatorsRegistered());
        root = CObject::newRoot();
        CObject* audio = nullptr;
        ASSERT_EQ(root->createChild(audio, CString("core:object"), CString("audio")), nullptr);
        // Finished objects turn read-only while no shared tree is published; these are filled on.
        audio->setReadOnly(false);
        ASSERT_EQ(audio->createChild(cvts, CString("core:object"), CString("paramcvt")), nullptr);
        cvts->setReadOnly(false);
        addConverter("audio:cvt-gain", "gain", {{"decimals", "1"}});
        addConverter("audio:cvt-ratio", "ratio", {{"decimals", "2"}});
        addConverter("audio:cvt-real", "real", {{"decimals", "2"}});
        addConverter("audio:cvt-text", "text", {{"is-discrete", "true"}});
        addConverter("audio:cvt-enum", "enum", {{"is-discrete", "true"}});
    }
    void TearDown() override {
        CAudioParamInfo::setStateListSource(nullptr);
        root->destroy();
    }

    void addConverter(const char* tag, const char* name, std::vector<std::pair<const char*, const char*>> attrs) {
        CAttrMap map;
        for (const auto& [k, v] : attrs) map[CString(k)].setText(CString(v));
        CObject* cvt = nullptr;
        ASSERT_EQ(cvts->createChild(cvt, CString(tag), CString(name), false, &map), nullptr);
    }

    // Fills info from a fresh node; returns the first message, or "" on success.
    std::string fill(CAudioParamInfo& info, std::vector<std::pair<const char*, const char*>> attrs) {
        CAttrMap map;
        for (const auto& [k, v] : attrs) map[CString(k)].setText(CString(v));
        CObject* node = nullptr;
        EXPECT_EQ(root->createChild(node, CString("core:object"), CString("param"), false, &map), nullptr);
        return message(info.fillFromNode(*node, *root, CString("audio.paramcvt")));
    }

    const CObject* converterObject(const char* name) const {
        return root->findObject(CString("audio.paramcvt.") + CString(name));
    }

    CObject* root = nullptr;
    CObject* cvts = nullptr;
};

TEST_F(CAudioParamInfoTest, FillsTheRecordFromANode) {
    CAudioParamInfo info;
    ASSERT_EQ(fill(info, {{"converter", "ratio"},
                          {"min-values", "1:1"},
                          {"max-values", "6:1"},
                          {"def-values", "1.3:1"},
                          {"visual-name", "Ratio"},
                          {"param-registry", "plugin.registry"},
                          {"is-storable", "true"}}),
              "");
    EXPECT_EQ(info.elementSize, 1);
    EXPECT_EQ(info.dataType, CAudioParamInfo::kNumeric);
    EXPECT_TRUE(info.storable);
    EXPECT_TRUE(info.global);  // storable implies global
    EXPECT_FALSE(info.persistent);
    EXPECT_FALSE(info.singleGroup);
    EXPECT_EQ(str(info.name), "param");
    EXPECT_EQ(str(info.visualName), "Ratio");
    EXPECT_EQ(str(info.registryPath), "plugin.registry");
    EXPECT_EQ(strs(info.converterNames), Strings{"ratio"});
    ASSERT_EQ(info.converters.count(), 1);
    EXPECT_EQ(info.converters[0], converterObject("ratio"));
    // The inverted range of a ratio: 1:1 is slope 1, 6:1 is slope 1/6.
    EXPECT_EQ(nums(info.minima), std::vector<double>{1.0});
    EXPECT_DOUBLE_EQ(info.maxima[0], 1.0 / 6.0);
    ASSERT_EQ(info.defaultNumbers.count(), 1);
    EXPECT_DOUBLE_EQ(info.defaultNumbers[0], 1.0 / 1.3);

    // Persistent excludes storable and makes global; flags read as written otherwise.
    CAudioParamInfo flags;
    ASSERT_EQ(fill(flags, {{"converter", "audio.paramcvt.real"},
                           {"min-values", "0"},
                           {"max-values", "1"},
                           {"def-values", "0"},
                           {"is-persistent", "true"},
                           {"is-storable", "true"},
                           {"is-single-group", "true"},
                           {"is-single-element", "true"}}),
              "");
    EXPECT_TRUE(flags.persistent);
    EXPECT_FALSE(flags.storable);
    EXPECT_TRUE(flags.global);
    EXPECT_TRUE(flags.singleGroup);
    EXPECT_TRUE(flags.singleElement);
    EXPECT_EQ(flags.converters[0], converterObject("real"));
}

TEST_F(CAudioParamInfoTest, ElementsOfSeveralNumbers) {
    CAudioParamInfo info;
    ASSERT_EQ(fill(info, {{"element-size", "2"},
                          {"converter", "gain"},
                          {"converter2", "real"},
                          {"min-values", "-24  0"},
                          {"max-values", "24 10"},
                          {"def-values", "0 5, 6 2.5;-6 1"}}),
              "");
    EXPECT_EQ(info.converters[0], converterObject("gain"));
    EXPECT_EQ(info.converters[1], converterObject("real"));
    EXPECT_NEAR(info.minimum(0), std::pow(10.0, -24.0 / 20.0), 1e-15);
    EXPECT_DOUBLE_EQ(info.maximum(1), 10.0);
    ASSERT_EQ(info.defaultElementCount(), 3);
    EXPECT_DOUBLE_EQ(info.defaultNumbers[0], 1.0);
    EXPECT_DOUBLE_EQ(info.defaultNumbers[1], 5.0);
    EXPECT_NEAR(info.defaultNumbers[2], std::pow(10.0, 6.0 / 20.0), 1e-15);
    EXPECT_DOUBLE_EQ(info.defaultNumbers[5], 1.0);

    // Without separators the elements follow each other; a separator inside an element fails.
    EXPECT_EQ(message(info.parseDefValues(CString("0 5 6 2.5"))), "");
    EXPECT_EQ(info.defaultElementCount(), 2);
    EXPECT_EQ(message(info.parseDefValues(CString("0, 5 6"))), "Not enough default elements at pos 1.");
    EXPECT_EQ(message(info.parseDefValues(CString("0 5, 6"))), "Not enough default elements at pos 6.");
    EXPECT_EQ(message(info.parseDefValues(CString("0 five"))), "Default values parsing error.");
    EXPECT_EQ(message(info.parseDefValues(CString(" ,"))), "Not enough default elements at pos 1.");
    EXPECT_EQ(message(info.parseDefValues(CString(""))), "No default values specified.");
    EXPECT_TRUE(info.defaultNumbers.isEmpty());
}

TEST_F(CAudioParamInfoTest, RangeAndConverterMessages) {
    CAudioParamInfo info;
    const std::vector<std::pair<const char*, const char*>> two = {{"element-size", "2"}, {"converter", "real"},
                                                                 {"converter2", "real"}, {"def-values", "0 0"}};
    auto with = [&](std::vector<std::pair<const char*, const char*>> extra) {
        auto attrs = two;
        attrs.insert(attrs.end(), extra.begin(), extra.end());
        return fill(info, attrs);
    };
    EXPECT_EQ(with({{"min-values", "-1"}, {"max-values", "1 1"}}), "Not enough minimum values defined 1 (should be 2).");
    EXPECT_EQ(with({{"min-values", "-1 -1"}}), "Not enough maximum values defined 0 (should be 2).");
    EXPECT_EQ(with({{"min-values", "0 5"}, {"max-values", "10 5"}}),
              "Zero default min-max values difference detected in element 1.");
    EXPECT_EQ(with({{"min-values", "0 x"}, {"max-values", "1 1"}}), "Invalid range value 'x' in element 1.");

    EXPECT_EQ(fill(info, {{"element-size", "2"}, {"converter", "real"}, {"min-values", "0 0"}}),
              "Not enough converters defined 1 (should be 2).");
    EXPECT_EQ(fill(info, {{"converter", "nope"}, {"min-values", "0"}, {"max-values", "1"}}),
              "Audio parameter converter 'nope' not found.");
    // An object that is no converter doesn't count as one.
    EXPECT_EQ(fill(info, {{"converter", "audio"}, {"min-values", "0"}, {"max-values", "1"}}),
              "Audio parameter converter 'audio' not found.");
    EXPECT_TRUE(info.converters.isEmpty());
    EXPECT_EQ(fill(info, {{"element-size", "0"}}), "Invalid element size 0 specified.");
    EXPECT_EQ(fill(info, {{"element-size", "two"}}), "Invalid element size two specified.");
    EXPECT_EQ(fill(info, {{"element-size", "2"}, {"data-type", "string"}}),
              "Invalid element size 2 for non-float data specified.");
    EXPECT_EQ(fill(info, {{"data-type", "blob"}}), "Unknown data type 'blob' specified.");

    // The messages name the parameter below the message line.
    CAudioParamInfo named;
    named.name = "plugin.modMain.threshold";
    CError* err = named.parseMinMaxValues(CString(""), CString("1"));
    ASSERT_NE(err, nullptr);
    EXPECT_NE(str(err->text()).find("// plugin.modMain.threshold"), std::string::npos) << str(err->text());
    deleteError(err);
}

TEST_F(CAudioParamInfoTest, StringDataHasNoRangeToParse) {
    CAudioParamInfo info;
    ASSERT_EQ(fill(info, {{"data-type", "string"},
                          {"converter", "text"},
                          {"min-values", "0"},
                          {"max-values", "1"},
                          {"def-values", "L,R,IN3;IN4"}}),
              "");
    EXPECT_EQ(info.dataType, CAudioParamInfo::kString);
    EXPECT_DOUBLE_EQ(info.minimum(0), 0.0);
    EXPECT_DOUBLE_EQ(info.maximum(0), 8388608.0);
    EXPECT_EQ(strs(info.defaultTexts), (Strings{"L", "R", "IN3", "IN4"}));
    EXPECT_EQ(info.defaultElementCount(), 4);
    ASSERT_EQ(fill(info, {{"data-type", "string"}, {"converter", "text"}, {"def-values", ""}}), "");
    EXPECT_EQ(strs(info.defaultTexts), Strings{""});
}

TEST_F(CAudioParamInfoTest, StateAndSwitchNames) {
    CAudioParamInfo info;
    ASSERT_EQ(message(info.parseStateNames(CString(" Lo-shelf | Lo-shlf ;Peak; Oversampling;Full|Abbreviated"))), "");
    EXPECT_EQ(strs(info.stateNames), (Strings{"Lo-shelf", "Peak", "Oversampling", "Full"}));
    EXPECT_EQ(strs(info.shortStateNames), (Strings{"Lo-shlf", "Peak", "Oversam", "Abbrevi"}));
    // A cut that ends in a blank loses the blank.
    ASSERT_EQ(message(info.parseStateNames(CString("Rel GR x"))), "");
    EXPECT_EQ(strs(info.shortStateNames), Strings{"Rel GR"});
    ASSERT_EQ(message(info.parseStateNames(CString(""))), "");
    EXPECT_TRUE(info.stateNames.isEmpty());

    // Stored lists: nothing stored is an error naming the value; a source gives the names.
    EXPECT_EQ(message(info.parseStateNames(CString("@/factory"))), "No state names data available in '@/factory'.");
    static std::vector<std::string> asked;
    asked.clear();
    CAudioParamInfo::setStateListSource([](const CString& list, bool global, CArray<CString>& names) {
        asked.push_back(std::string(global ? "global " : "local ") + list.narrowed().c8());
        if (list != "factory") return false;
        names.add(CString("Vocal lead;Vocal"));
        names.add(CString("Drum bus"));
        return true;
    });
    ASSERT_EQ(message(info.parseStateNames(CString("@/factory"))), "");
    EXPECT_EQ(strs(info.stateNames), (Strings{"Vocal lead", "Drum bus"}));
    EXPECT_EQ(strs(info.shortStateNames), (Strings{"Vocal", "Drum bu"}));
    EXPECT_EQ(message(info.parseStateNames(CString("@mine"))), "No state names data available in '@mine'.");
    EXPECT_EQ(asked, (Strings{"global factory", "local mine"}));

    ASSERT_EQ(message(info.parseSwitches(CString("0, 1e3"), CString("Off, Max"))), "");
    EXPECT_EQ(nums(info.switchValues), (std::vector<double>{0.0, 1000.0}));
    EXPECT_EQ(strs(info.switchNames), (Strings{"Off", "Max"}));
    EXPECT_EQ(message(info.parseSwitches(CString("0,1"), CString("Off"))),
              "Switch values and names differ in number (2 values, 1 names).");
    EXPECT_EQ(message(info.parseSwitches(CString("low"), CString("Off"))), "Invalid switch value 'low' specified.");
    EXPECT_TRUE(info.switchValues.isEmpty());
}

TEST_F(CAudioParamInfoTest, SwitchNamesReachTheConverterParse) {
    // "Off" at the bottom of a gain range, used in the default.
    CAudioParamInfo info;
    ASSERT_EQ(fill(info, {{"converter", "gain"},
                          {"switch-values", "0.001"},
                          {"switch-names", "Off"},
                          {"min-values", "Off"},
                          {"max-values", "0"},
                          {"def-values", "Off"}}),
              "");
    EXPECT_DOUBLE_EQ(info.minimum(0), 0.001);
    EXPECT_DOUBLE_EQ(info.defaultNumbers[0], 0.001);
    bool ok = false;
    EXPECT_DOUBLE_EQ(info.converter(0)->parseValue(info, 0, CString("Off"), ok), 0.001);
    EXPECT_TRUE(ok);
}

}  // namespace
