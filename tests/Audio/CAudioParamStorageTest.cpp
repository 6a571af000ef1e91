#include "Audio/CAudioParamStorage.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Audio/CAudioParamChange.h"
#include "Audio/CAudioParamDataItem.h"
#include "Audio/CAudioParamDataItemString.h"
#include "Core/CError.h"
#include "Core/CMemoryReader.h"
#include "Core/COutputStream.h"
#include "tests/Support/CTestText.h"
#include "tests/Support/CByteSink.h"

using namespace orl;

namespace {

using test::str;
using test::message;

using test::CByteSink;

// The first message line of an error, which is then deleted; "" for success.

std::vector<uint8_t> saved(const CAudioParamStorage& s, int32_t group) {
    CByteSink sink;
    EXPECT_EQ(message(s.save(sink, group)), "");
    return sink.bytes;
}

std::string load(CAudioParamStorage& s, const std::vector<uint8_t>& bytes, int32_t group = -1) {
    CMemoryReader reader(bytes.data(), static_cast<uint32_t>(bytes.size()));
    return message(s.load(reader, group));
}

uint32_t u32At(const std::vector<uint8_t>& b, size_t at) {
    return b[at] | b[at + 1] << 8 | b[at + 2] << 16 | static_cast<uint32_t>(b[at + 3]) << 24;
}

// A record in the layout of s over numbers (whole elements).
void numbersRecord(CAudioParamChange& r, const CAudioParamStorage& s, int32_t group, int32_t start,
                   const std::vector<double>& numbers, bool tail = false) {
    r.setLayoutOf(s);
    r.group = group;
    r.start = start;
    r.tail = tail;
    r.clearOwnNumbers();
    for (double v : numbers) r.addNumber(v);
    r.count = static_cast<int32_t>(numbers.size()) / s.elementSize();
}

void textRecord(CAudioParamChange& r, const CAudioParamStorage& s, int32_t group, int32_t start,
                const std::vector<std::string>& texts, bool tail = false) {
    r.setLayoutOf(s);
    r.group = group;
    r.start = start;
    r.tail = tail;
    r.clearOwnNumbers();
    for (const std::string& t : texts) r.addNumber(r.ownData().addString(CString(t.c_str())));
    r.count = static_cast<int32_t>(texts.size());
}

std::vector<double> groupOf(const CAudioParamStorage& s, int32_t g) {
    const double* p = s.groupNumbers(g);
    return p ? std::vector<double>(p, p + s.elementCount(g) * s.elementSize()) : std::vector<double>();
}

std::vector<std::string> textsOf(const CAudioParamStorage& s, int32_t g) {
    std::vector<std::string> out;
    for (int32_t e = 0; e < s.elementCount(g); ++e) {
        CString t;
        EXPECT_TRUE(s.getText(g, e, t)) << "element " << e;
        out.push_back(str(t));
    }
    return out;
}

using Texts = std::vector<std::string>;
using Numbers = std::vector<double>;

// A numeric storage: one number per element, the eight defaults 10..17, group 0 of two elements.
CAudioParamStorage routingLike() {
    CAudioParamStorage s;
    EXPECT_TRUE(s.setLayout(1, 0, false, false));
    const double defaults[] = {10, 11, 12, 13, 14, 15, 16, 17};
    s.setDefaults(defaults, 8, nullptr);
    CAudioParamChange r;
    numbersRecord(r, s, 0, 0, {1, 2}, true);
    EXPECT_TRUE(s.apply(r));
    return s;
}

CAudioParamStorage stringStorage(const Texts& defaults) {
    CAudioParamStorage s;
    EXPECT_TRUE(s.setLayout(1, CAudioParamDataItem::kString, false, false));
    for (const std::string& t : defaults) s.addDefaultItem(CAudioParamDataItemString(CString(t.c_str())));
    return s;
}

}  // namespace

TEST(CAudioParamStorageTest, ReadingFallsBackToTheDefaults) {
    CAudioParamStorage s = routingLike();
    EXPECT_EQ(s.getValue(0, 1, -1.0), 2.0);
    EXPECT_EQ(s.getValue(3, 0, -1.0), 10.0);   // no group 3: the default of element 0
    EXPECT_EQ(s.getValue(3, 5, -1.0), 15.0);   // ... of element 5
    EXPECT_EQ(s.getValue(0, 5, -1.0), 15.0);   // beyond the group's elements
    EXPECT_EQ(s.getValue(0, 9, -1.0), 10.0);   // beyond the defaults: default 0
    EXPECT_EQ(s.getValue(-1, -2, -1.0), 10.0);
    EXPECT_EQ(s.pick(2, 6), 16.0);  // the graph's reader sees the same stand-ins

    CAudioParamStorage none;
    EXPECT_EQ(none.getValue(0, 0, -1.0), -1.0);  // not valid: the fallback
    ASSERT_TRUE(none.setLayout(1, 0, false, false));
    EXPECT_EQ(none.getValue(0, 0, -1.0), -1.0);  // valid, but neither values nor defaults

    // Single group and single element read group 0 and element 0 whatever is asked.
    CAudioParamStorage single;
    ASSERT_TRUE(single.setLayout(1, 0, true, true));
    CAudioParamChange r;
    numbersRecord(r, single, 5, 3, {7});
    ASSERT_TRUE(single.apply(r));
    EXPECT_EQ(single.groupCount(), 1);
    EXPECT_EQ(single.elementCount(0), 1);
    EXPECT_EQ(single.getValue(4, 6, -1.0), 7.0);

    // Elements of several numbers, and their defaults.
    CAudioParamStorage band;
    ASSERT_TRUE(band.setLayout(3, 0, false, false));
    const double defaults[] = {100, 0.7, 1, 1000, 0.7, 2};
    band.setDefaults(defaults, 7, nullptr);  // the partial third element is dropped
    EXPECT_EQ(band.defaultCount(), 2);
    numbersRecord(r, band, 1, 0, {50, 0.5, 3});
    ASSERT_TRUE(band.apply(r));
    EXPECT_EQ(band.getNumber(1, 0, 2, -1.0), 3.0);
    EXPECT_EQ(band.getNumber(1, 1, 0, -1.0), 1000.0);
    EXPECT_EQ(band.getNumber(0, 4, 1, -1.0), 0.7);
    EXPECT_EQ(band.getNumber(1, 0, 3, -1.0), -1.0);  // no fourth number
    EXPECT_FALSE(s.setLayout(2, CAudioParamDataItem::kString, false, false));  // strings have one per element
    EXPECT_EQ(s.getValue(0, 1, -1.0), 2.0);  // and a refused layout leaves the storage alone
}

TEST(CAudioParamStorageTest, ChangesPadWithDefaultsAndTheTailEndsTheGroup) {
    CAudioParamStorage s = routingLike();
    CAudioParamChange r;
    numbersRecord(r, s, 0, 5, {50, 60});
    ASSERT_TRUE(s.apply(r));
    EXPECT_EQ(groupOf(s, 0), (Numbers{1, 2, 12, 13, 14, 50, 60}));

    numbersRecord(r, s, 0, 1, {-2});
    ASSERT_TRUE(s.apply(r));  // inside the group, no tail: the rest stays
    EXPECT_EQ(groupOf(s, 0), (Numbers{1, -2, 12, 13, 14, 50, 60}));
    numbersRecord(r, s, 0, 2, {-3}, true);
    ASSERT_TRUE(s.apply(r));
    EXPECT_EQ(groupOf(s, 0), (Numbers{1, -2, -3}));
    numbersRecord(r, s, 0, 0, {}, true);
    ASSERT_TRUE(s.apply(r));
    EXPECT_EQ(s.elementCount(0), 0);
    EXPECT_EQ(s.getValue(0, 2, -1.0), 12.0);

    // A new group brings empty groups before it.
    numbersRecord(r, s, 3, 1, {9});
    ASSERT_TRUE(s.apply(r));
    EXPECT_EQ(s.groupCount(), 4);
    EXPECT_EQ(s.elementCount(2), 0);
    EXPECT_EQ(groupOf(s, 3), (Numbers{10, 9}));

    // Records that don't fit are ignored.
    CAudioParamChange other;
    numbersRecord(other, s, 0, 0, {1});
    other.elementSize = 2;
    EXPECT_FALSE(s.apply(other));
    numbersRecord(other, s, 0, 0, {1});
    other.singleGroup = true;
    EXPECT_FALSE(s.apply(other));
    numbersRecord(other, s, CAudioParamStorage::kMaxGroups, 0, {1});
    EXPECT_FALSE(s.apply(other));
    numbersRecord(other, s, 0, -1, {1});
    EXPECT_FALSE(s.apply(other));
    EXPECT_EQ(s.groupCount(), 4);

    // The whole parameter: a new layout, its numbers the new defaults, no groups.
    CAudioParamChange whole;
    numbersRecord(whole, s, CAudioParamChange::kWholeParam, 0, {4, 5, 6, 7});
    whole.elementSize = 2;
    whole.count = 2;
    ASSERT_TRUE(s.apply(whole));
    EXPECT_EQ(s.elementSize(), 2);
    EXPECT_EQ(s.groupCount(), 0);
    EXPECT_EQ(s.defaultCount(), 2);
    EXPECT_EQ(s.getNumber(1, 1, 1, -1.0), 7.0);
}

TEST(CAudioParamStorageTest, StringItemsComeAndGoWithTheirElements) {
    const int32_t liveBefore = CAudioParamDataItem::liveCount();
    {
        CAudioParamStorage s = stringStorage({"L", "R"});
        CAudioParamChange r;
        textRecord(r, s, 0, 3, {"x", ""});
        ASSERT_TRUE(s.apply(r));
        EXPECT_EQ(textsOf(s, 0), (Texts{"L", "R", "L", "x", ""}));
        EXPECT_EQ(s.data().count(), 5);  // one item per element, padding included

        // An empty text is an item like any other.
        int32_t id = 0;
        ASSERT_TRUE(CAudioParamData::idOf(s.getValue(0, 4, -1.0), id));
        ASSERT_NE(s.data().findItem(id), nullptr);
        CString text("not empty");
        EXPECT_TRUE(s.data().getString(id, text));
        EXPECT_EQ(text.length(), 0);

        textRecord(r, s, 0, 1, {"y", "z"});
        ASSERT_TRUE(s.apply(r));
        EXPECT_EQ(textsOf(s, 0), (Texts{"L", "y", "z", "x", ""}));
        EXPECT_EQ(s.data().count(), 5);  // the overwritten items went
        textRecord(r, s, 0, 2, {"end"}, true);
        ASSERT_TRUE(s.apply(r));
        EXPECT_EQ(textsOf(s, 0), (Texts{"L", "y", "end"}));
        EXPECT_EQ(s.data().count(), 3);

        // Beyond the table a reader gets the default's text.
        CString fallback;
        EXPECT_TRUE(s.getText(2, 1, fallback));
        EXPECT_EQ(str(fallback), "R");

        // Copies are deep: each storage frees its own items.
        CAudioParamStorage copy = s;
        textRecord(r, copy, 0, 0, {"changed"});
        ASSERT_TRUE(copy.apply(r));
        EXPECT_EQ(textsOf(s, 0)[0], "L");
        EXPECT_EQ(textsOf(copy, 0)[0], "changed");

        // A clone of a record carries only the items that its numbers name.
        r.ownData().addString(CString("unused"));
        CAudioParamChange* clone = r.clone();
        EXPECT_EQ(clone->data->count(), 1);
        ASSERT_TRUE(s.apply(*clone));
        delete clone;
        EXPECT_EQ(textsOf(s, 0), (Texts{"changed", "y", "end"}));
    }
    EXPECT_EQ(CAudioParamDataItem::liveCount(), liveBefore);
}

TEST(CAudioParamStorageTest, SaveAndLoadRoundTripsEveryDataType) {
    // Numeric, two numbers per element, three groups; one group alone loads into another.
    CAudioParamStorage numeric;
    ASSERT_TRUE(numeric.setLayout(2, 0, false, false));
    CAudioParamChange r;
    numbersRecord(r, numeric, 0, 0, {1, 2, 3, 4});
    ASSERT_TRUE(numeric.apply(r));
    numbersRecord(r, numeric, 2, 0, {-5.5, 1e300});
    ASSERT_TRUE(numeric.apply(r));
    const std::vector<uint8_t> all = saved(numeric, -1);
    ASSERT_EQ(all.size(), 16u + 3 * 4 + 6 * 8);
    EXPECT_EQ(u32At(all, 0), 1u);
    EXPECT_EQ(u32At(all, 4), 2u);
    EXPECT_EQ(u32At(all, 12), 3u);
    CAudioParamStorage back;
    ASSERT_TRUE(back.setLayout(2, 0, false, false));
    ASSERT_EQ(load(back, all), "");
    EXPECT_EQ(back.groupCount(), 3);
    EXPECT_EQ(groupOf(back, 0), groupOf(numeric, 0));
    EXPECT_EQ(back.elementCount(1), 0);
    EXPECT_EQ(groupOf(back, 2), groupOf(numeric, 2));
    const std::vector<uint8_t> one = saved(numeric, 2);
    EXPECT_EQ(u32At(one, 12), 1u);
    ASSERT_EQ(load(back, one, 0), "");
    EXPECT_EQ(groupOf(back, 0), (Numbers{-5.5, 1e300}));
    EXPECT_EQ(back.groupCount(), 3);

    // Strings: the table first, only the items in use, then the ids; an empty text is a blank.
    CAudioParamStorage strings = stringStorage({"d"});
    textRecord(r, strings, 0, 0, {"Kick", "", "Snäre"});
    ASSERT_TRUE(strings.apply(r));
    textRecord(r, strings, 1, 0, {"x", "gone"});
    ASSERT_TRUE(strings.apply(r));
    textRecord(r, strings, 1, 1, {}, true);
    ASSERT_TRUE(strings.apply(r));
    const std::vector<uint8_t> text = saved(strings, -1);
    EXPECT_EQ(u32At(text, 8), 1u);
    EXPECT_EQ(u32At(text, 16), 4u);  // four items in use of five ever made
    EXPECT_EQ(u32At(text, 24), 1u);  // the first one's type
    EXPECT_EQ(u32At(text, 28), 4u);  // "Kick"
    EXPECT_EQ(std::string(text.begin() + 32, text.begin() + 36), "Kick");
    EXPECT_EQ(u32At(text, 44), 1u);  // "": length 1,
    EXPECT_EQ(text[48], ' ');        // a blank
    CAudioParamStorage textBack = stringStorage({});
    ASSERT_EQ(load(textBack, text), "");
    EXPECT_EQ(textsOf(textBack, 0), (Texts{"Kick", "", "Snäre"}));
    EXPECT_EQ(textsOf(textBack, 1), (Texts{"x"}));
    EXPECT_EQ(textBack.data().count(), 4);

    // Raw bytes, zeros included.
    CAudioParamStorage raw;
    ASSERT_TRUE(raw.setLayout(1, CAudioParamDataItem::kRaw, false, false));
    const uint8_t bytes[] = {0, 1, 0, 255};
    CAudioParamChange rr;
    rr.setLayoutOf(raw);
    rr.count = 2;
    rr.clearOwnNumbers();
    rr.addNumber(rr.ownData().addRaw(bytes, 4));
    rr.addNumber(rr.ownData().addRaw(bytes, 0));
    ASSERT_TRUE(raw.apply(rr));
    CAudioParamStorage rawBack;  // without a layout it takes the stream's
    ASSERT_EQ(load(rawBack, saved(raw, -1)), "");
    EXPECT_EQ(rawBack.dataType(), CAudioParamDataItem::kRaw);
    int32_t id = 0;
    ASSERT_TRUE(CAudioParamData::idOf(rawBack.getValue(0, 0, 0.0), id));
    const CByteBuffer* got = rawBack.data().getRaw(id);
    ASSERT_NE(got, nullptr);
    EXPECT_EQ(std::vector<uint8_t>(got->data(), got->data() + got->size()), std::vector<uint8_t>(bytes, bytes + 4));
    ASSERT_TRUE(CAudioParamData::idOf(rawBack.getValue(0, 1, 0.0), id));
    ASSERT_NE(rawBack.data().getRaw(id), nullptr);
    EXPECT_EQ(rawBack.data().getRaw(id)->size(), 0u);
}

TEST(CAudioParamStorageTest, LoadFailuresNameTheCauseAndChangeNothing) {
    CAudioParamStorage strings = stringStorage({});
    CAudioParamChange r;
    textRecord(r, strings, 0, 0, {"a"});
    ASSERT_TRUE(strings.apply(r));
    const std::vector<uint8_t> text = saved(strings, -1);

    CAudioParamStorage numeric = routingLike();
    EXPECT_EQ(load(numeric, text), "Unsupported storage format (esize=1, dtype=1; should be: esize=1, dtype=0).");
    std::vector<uint8_t> version = saved(numeric, -1);
    version[0] = 2;
    EXPECT_EQ(load(numeric, version), "Unsupported data set version 2.");
    std::vector<uint8_t> badType = text;
    badType[24] = 7;  // the item's type
    CAudioParamStorage other = stringStorage({});
    EXPECT_EQ(load(other, badType), "Unknown data type 7 encountered");
    std::vector<uint8_t> badId = text;
    badId[badId.size() - 4] = 9;  // the element's id
    EXPECT_EQ(load(other, badId), "Unknown data item id 9.");

    // Every cut of a valid stream fails, and the storage keeps its values.
    const std::vector<uint8_t> good = saved(numeric, -1);
    for (size_t cut = 0; cut < good.size(); ++cut) {
        std::vector<uint8_t> part(good.begin(), good.begin() + static_cast<long>(cut));
        EXPECT_NE(load(numeric, part), "") << "cut at " << cut;
    }
    for (size_t cut = 0; cut < text.size(); ++cut) {
        std::vector<uint8_t> part(text.begin(), text.begin() + static_cast<long>(cut));
        EXPECT_NE(load(strings, part), "") << "cut at " << cut;
    }
    EXPECT_EQ(groupOf(numeric, 0), (Numbers{1, 2}));
    EXPECT_EQ(textsOf(strings, 0), (Texts{"a"}));
}
