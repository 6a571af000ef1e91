#include "Other/CAudioVizData.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "Core/CByteBuffer.h"
#include "Core/CByteBufferWriter.h"
#include "Core/CMemoryReader.h"
#include "Other/CAudioVizDataInfo.h"
#include "Other/CAudioVizDataMeter.h"
#include "Other/CAudioVizDataSpectrum.h"
#include "Other/CAudioVizDataVScope.h"

using namespace orl;

namespace {

CByteBuffer saved(const CAudioVizData& record) {
    CByteBuffer bytes;
    CByteBufferWriter writer(bytes);
    EXPECT_EQ(record.save(writer), nullptr);
    return bytes;
}

void fillHeader(CAudioVizData& r, int32_t seed) {
    r.channel = seed;
    r.group = seed % 8;
    r.element = -seed;
    r.time = 1.25 * seed;
    r.slot = seed - 3;
}

void expectSameHeader(const CAudioVizData& a, const CAudioVizData& b) {
    EXPECT_EQ(a.channel, b.channel);
    EXPECT_EQ(a.group, b.group);
    EXPECT_EQ(a.element, b.element);
    EXPECT_EQ(a.time, b.time);
    EXPECT_EQ(a.slot, b.slot);
}

// Saves, loads into a record made by the factory from the type, and checks that the whole input
// was read and that saving again gives the same bytes.
std::unique_ptr<CAudioVizData> roundTrip(const CAudioVizData& record) {
    const CByteBuffer bytes = saved(record);
    std::unique_ptr<CAudioVizData> back(CAudioVizData::create(record.type()));
    EXPECT_NE(back, nullptr);
    if (!back) return back;
    CMemoryReader reader(bytes.data(), bytes.size());
    EXPECT_EQ(back->load(reader), nullptr);
    EXPECT_EQ(reader.position(), bytes.size());
    const CByteBuffer again = saved(*back);
    EXPECT_EQ(again.size(), bytes.size());
    EXPECT_EQ(std::memcmp(again.data(), bytes.data(), bytes.size()), 0);
    expectSameHeader(record, *back);
    return back;
}

}  // namespace

TEST(CAudioVizDataTest, MeterLayoutIsTheHeaderThenTwoDoubles) {
    CAudioVizDataMeter m;
    m.channel = 3;
    m.group = 2;
    m.element = 1;
    m.time = 0.5;
    m.slot = -1;
    m.value1 = 0.25;
    m.value2 = -2.0;
    const CByteBuffer b = saved(m);
    ASSERT_EQ(b.size(), 4u + 4u + 4u + 8u + 4u + 8u + 8u);
    auto i32 = [&](uint32_t at) {
        int32_t v;
        std::memcpy(&v, b.data() + at, 4);
        return v;
    };
    auto f64 = [&](uint32_t at) {
        double v;
        std::memcpy(&v, b.data() + at, 8);
        return v;
    };
    EXPECT_EQ(i32(0), 3);
    EXPECT_EQ(i32(4), 2);
    EXPECT_EQ(i32(8), 1);
    EXPECT_EQ(f64(12), 0.5);
    EXPECT_EQ(i32(20), -1);
    EXPECT_EQ(f64(24), 0.25);
    EXPECT_EQ(f64(32), -2.0);
    EXPECT_EQ(m.type(), 0);
}

TEST(CAudioVizDataTest, AllFourTypesSurviveARoundTripAndOthersAreNotMade) {
    CAudioVizDataMeter meter;
    fillHeader(meter, 5);
    meter.value1 = 0.75;
    meter.value2 = 1e-9;
    auto m = roundTrip(meter);
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(static_cast<CAudioVizDataMeter&>(*m).value1, 0.75);
    EXPECT_EQ(static_cast<CAudioVizDataMeter&>(*m).value2, 1e-9);

    CAudioVizDataInfo info;
    fillHeader(info, 6);
    info.text = CString("gain reduction");
    info.value = -42;
    auto i = roundTrip(info);
    ASSERT_NE(i, nullptr);
    EXPECT_EQ(static_cast<CAudioVizDataInfo&>(*i).text, "gain reduction");
    EXPECT_EQ(static_cast<CAudioVizDataInfo&>(*i).value, -42);

    CAudioVizDataSpectrum spectrum;
    fillHeader(spectrum, 7);
    for (int k = 0; k < 5; ++k) spectrum.bins.add(k * 0.5 - 1.0);
    spectrum.real1 = 44100.0;
    spectrum.int1 = 2048;
    spectrum.int2 = 3;
    spectrum.real2 = -96.0;
    spectrum.int3 = 9;
    auto s = roundTrip(spectrum);
    ASSERT_NE(s, nullptr);
    const auto& sb = static_cast<CAudioVizDataSpectrum&>(*s);
    ASSERT_EQ(sb.bins.count(), 5);
    EXPECT_EQ(sb.bins[4], 1.0);
    EXPECT_EQ(sb.int1, 2048);
    EXPECT_EQ(sb.real2, -96.0);
    EXPECT_EQ(sb.int3, 9);

    CAudioVizDataVScope scope;
    fillHeader(scope, 8);
    scope.points1.add(0xdeadbeefu);
    scope.points2.add(1u);
    scope.points2.add(2u);
    auto v = roundTrip(scope);
    ASSERT_NE(v, nullptr);
    const auto& vb = static_cast<CAudioVizDataVScope&>(*v);
    ASSERT_EQ(vb.points1.count(), 1);
    EXPECT_EQ(vb.points1[0], 0xdeadbeefu);
    ASSERT_EQ(vb.points2.count(), 2);
    EXPECT_EQ(vb.points2[1], 2u);

    EXPECT_EQ(CAudioVizData::create(2), nullptr);
    EXPECT_EQ(CAudioVizData::create(5), nullptr);
    EXPECT_EQ(CAudioVizData::create(-1), nullptr);
}

TEST(CAudioVizDataTest, ATruncatedRecordFailsToLoad) {
    CAudioVizDataSpectrum spectrum;
    for (int k = 0; k < 4; ++k) spectrum.bins.add(k);
    const CByteBuffer bytes = saved(spectrum);
    CAudioVizDataSpectrum back;
    CMemoryReader reader(bytes.data(), bytes.size() - 3);
    CError* err = back.load(reader);
    EXPECT_NE(err, nullptr);
    deleteError(err);
}
