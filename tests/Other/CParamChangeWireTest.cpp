#include "Other/CParamChangeWire.h"

#include <gtest/gtest.h>

#include "Audio/CAudioParamChange.h"
#include "Audio/CAudioParamData.h"
#include "Audio/CAudioParamInfo.h"
#include "Core/CByteBuffer.h"
#include "Core/CByteBufferWriter.h"
#include "Core/CMemoryReader.h"
#include "tests/Support/CTestText.h"

using namespace orl;
using test::message;
using test::str;

// A string change travels with only the items that it names, renumbered from 1 in order of first
// use; a number that names no item goes as 0. The layout fields come back as they went, and the
// source becomes the reader. A damaged count is refused before anything is allocated.
TEST(CParamChangeWireTest, StringChangesCarryOnlyTheirItemsRenumbered) {
    CAudioParamData table;
    table.addString(CString("unused"));
    const int32_t left = table.addString(CString("Left"));
    const int32_t right = table.addString(CString("Right"));
    const double ids[4] = {static_cast<double>(right), static_cast<double>(left), static_cast<double>(right), 77.0};
    CAudioParamChange sent;
    sent.group = 3;
    sent.start = 1;
    sent.count = 4;
    sent.tail = true;
    sent.dataType = CAudioParamInfo::kString;
    sent.singleGroup = true;
    sent.numbers = ids;
    sent.data = &table;

    CByteBuffer bytes;
    {
        CByteBufferWriter out(bytes);
        ASSERT_EQ(message(CParamChangeWire::write(out, sent)), "");
    }
    CMemoryReader in(bytes.data(), bytes.size());
    CAudioParamChange got;
    int reader = 0;
    ASSERT_EQ(message(CParamChangeWire::read(in, got, &reader)), "");
    EXPECT_EQ(in.position(), bytes.size());
    EXPECT_EQ(got.source, &reader);
    EXPECT_EQ(got.group, 3);
    EXPECT_EQ(got.start, 1);
    EXPECT_TRUE(got.tail);
    EXPECT_TRUE(got.singleGroup);
    EXPECT_FALSE(got.singleElement);
    ASSERT_EQ(got.count, 4);
    EXPECT_EQ(std::vector<double>(got.numbers, got.numbers + 4), (std::vector<double>{1, 2, 1, 0}));
    ASSERT_NE(got.data, nullptr);
    EXPECT_EQ(got.data->count(), 2);
    CString text;
    ASSERT_TRUE(got.data->getString(1, text));
    EXPECT_EQ(str(text), "Right");
    ASSERT_TRUE(got.data->getString(2, text));
    EXPECT_EQ(str(text), "Left");

    // A count that would take gigabytes is damage.
    bytes[8] = 0xff;
    bytes[9] = 0xff;
    bytes[10] = 0xff;
    bytes[11] = 0x7f;
    CMemoryReader damaged(bytes.data(), bytes.size());
    EXPECT_NE(message(CParamChangeWire::read(damaged, got, &reader)), "");
}
