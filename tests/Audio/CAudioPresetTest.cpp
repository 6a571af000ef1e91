#include "Audio/CAudioPreset.h"

#include <gtest/gtest.h>

#include <string>

#include "Audio/CAudioPresetBank.h"
#include "Core/CByteBufferWriter.h"
#include "Core/CError.h"
#include "Core/CMemoryReader.h"
#include "tests/Support/CTestText.h"

using namespace orl;

namespace {

using test::str;

std::string firstLine(CError* err) {
    std::string m = err ? str(err->line(0)) : "";
    deleteError(err);
    return m;
}

CByteBuffer bytesOf(const char* text) {
    CByteBuffer b;
    b.assign(text, static_cast<uint32_t>(std::char_traits<char>::length(text)));
    return b;
}

CAudioPreset sample(const char* name) {
    CAudioPreset p{CString(name)};
    p.setItem(CString("io-params.grouping"), bytesOf("\x01\x02"));
    p.setItem(CString("bypass-enable"), bytesOf("abc"));
    p.setItem(CString("empty"), CByteBuffer());
    return p;
}

void expectSame(const CAudioPreset& a, const CAudioPreset& b) {
    EXPECT_EQ(str(a.name()), str(b.name()));
    ASSERT_EQ(a.count(), b.count());
    auto ib = b.items().begin();
    for (const auto& [key, bytes] : a.items()) {
        EXPECT_EQ(str(key), str(ib->first));
        ASSERT_EQ(bytes.size(), ib->second.size());
        for (uint32_t i = 0; i < bytes.size(); ++i) EXPECT_EQ(bytes[i], ib->second[i]);
        ++ib;
    }
}

}  // namespace

TEST(CAudioPresetTest, RecordLayoutAndRoundTrips) {
    const CAudioPreset p = sample("qwpc:Default");
    CByteBuffer plain;
    {
        CByteBufferWriter w(plain);
        ASSERT_EQ(firstLine(p.write(w)), "");
    }
    // Name, count, then the items in ascending key order: "bypass-enable" comes first.
    const uint8_t head[] = {12, 0, 0, 0, 'q', 'w', 'p', 'c', ':', 'D', 'e', 'f', 'a', 'u', 'l', 't', 3, 0, 0, 0,
                            13, 0, 0, 0, 'b', 'y', 'p', 'a', 's', 's', '-', 'e', 'n', 'a', 'b', 'l', 'e',
                            3,  0, 0, 0, 'a', 'b', 'c', 5, 0, 0, 0, 'e', 'm', 'p', 't', 'y', 0, 0, 0, 0};
    ASSERT_GE(plain.size(), sizeof(head));
    for (uint32_t i = 0; i < sizeof(head); ++i) EXPECT_EQ(plain[i], head[i]) << "byte " << i;

    CAudioPreset back;
    CMemoryReader r(plain.data(), plain.size());
    ASSERT_EQ(firstLine(back.read(r)), "");
    expectSame(p, back);

    // The compressed form carries the id "aprs" and reads back the same record; the bank's
    // block isn't taken for a preset.
    CByteBuffer packed;
    {
        CByteBufferWriter w(packed);
        ASSERT_EQ(firstLine(p.writeCompressed(w)), "");
    }
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(packed.data()), 4), "aprs");
    CAudioPreset unpacked;
    CMemoryReader rp(packed.data(), packed.size());
    ASSERT_EQ(firstLine(unpacked.readCompressed(rp)), "");
    expectSame(p, unpacked);
    CAudioPresetBank notABank;
    CMemoryReader rb(packed.data(), packed.size());
    EXPECT_NE(firstLine(notABank.readCompressed(rb)), "");

    // Every cut of the record fails and leaves the preset as it was.
    for (uint32_t cut = 0; cut < plain.size(); ++cut) {
        CAudioPreset kept = sample("qwpc:Kept");
        CMemoryReader rc(plain.data(), cut);
        CError* err = kept.read(rc);
        ASSERT_NE(err, nullptr) << cut;
        deleteError(err);
        EXPECT_EQ(str(kept.name()), "qwpc:Kept");
        EXPECT_EQ(kept.count(), 3);
    }

    CString id, text;
    CAudioPreset::splitName(CString("qwpc1:Fast: Pump"), id, text);
    EXPECT_EQ(str(id), "qwpc1");
    EXPECT_EQ(str(text), "Fast: Pump");
    CAudioPreset::splitName(CString("NoColon"), id, text);
    EXPECT_EQ(str(id), "");
    EXPECT_EQ(str(text), "NoColon");
}

TEST(CAudioPresetTest, BankAndListRecords) {
    CAudioPresetBank bank{CString("Bank")};
    bank.add(sample("qwpc:Default"));
    bank.add(sample("qwpc:Fast"));
    CByteBuffer packed, list;
    {
        CByteBufferWriter w(packed);
        ASSERT_EQ(firstLine(bank.writeCompressed(w)), "");
    }
    {
        CByteBufferWriter w(list);
        ASSERT_EQ(firstLine(bank.writeList(w)), "");
    }
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(packed.data()), 4), "abnk");
    CAudioPresetBank back;
    CMemoryReader r(packed.data(), packed.size());
    ASSERT_EQ(firstLine(back.readCompressed(r)), "");
    EXPECT_EQ(str(back.name()), "Bank");
    ASSERT_EQ(back.count(), 2);
    expectSame(bank.preset(1), back.preset(1));

    // The list: u32 1, then the bank with an empty name.
    const uint8_t head[] = {1, 0, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0};
    for (uint32_t i = 0; i < sizeof(head); ++i) EXPECT_EQ(list[i], head[i]);
    CAudioPresetBank fromList{CString("old")};
    CMemoryReader rl(list.data(), list.size());
    ASSERT_EQ(firstLine(fromList.readList(rl)), "");
    EXPECT_EQ(str(fromList.name()), "");
    ASSERT_EQ(fromList.count(), 2);
    expectSame(bank.preset(0), fromList.preset(0));

    list[0] = 2;
    CMemoryReader rv(list.data(), list.size());
    EXPECT_EQ(firstLine(fromList.readList(rv)), "Unsupported preset list version 2.");
    EXPECT_EQ(fromList.count(), 2);
}
