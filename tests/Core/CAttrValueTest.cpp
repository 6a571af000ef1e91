#include "Core/CAttrValue.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace orl;

TEST(CAttrValue, StringInferenceChoosesTheType) {
    CAttrValue v;
    EXPECT_EQ(v.type(), CAttrValue::kEmpty);

    v.setText("12");
    EXPECT_EQ(v.type(), CAttrValue::kInt);
    EXPECT_EQ(v.getString(), "12");
    v.setText("-7");
    EXPECT_EQ(v.type(), CAttrValue::kInt);
    EXPECT_EQ(v.getInt(), -7);

    // Not in canonical decimal form: stays text but still reads as a number.
    for (const char* text : {"012", "0x10", "1.0", "-0", "+5", "99999999999"}) {
        v.setText(text);
        EXPECT_EQ(v.type(), CAttrValue::kString) << text;
        EXPECT_EQ(v.getString(), text);
    }
    v.setText("012");
    EXPECT_EQ(v.getInt(), 12);
    v.setText("0x10");
    EXPECT_EQ(v.getInt(), 16);
    EXPECT_DOUBLE_EQ(v.getDouble(), 16.0);

    v.setText("true");
    EXPECT_EQ(v.type(), CAttrValue::kBool);
    EXPECT_TRUE(v.getBool());
    v.setText("false");
    EXPECT_EQ(v.type(), CAttrValue::kBool);
    EXPECT_FALSE(v.getBool());
    EXPECT_EQ(v.getString(), "false");

    v.setText("hello");
    EXPECT_EQ(v.type(), CAttrValue::kString);
    v.setText("");
    EXPECT_EQ(v.type(), CAttrValue::kEmpty);
    EXPECT_EQ(v.getString(), "");
    EXPECT_EQ(v.getInt(), 0);
}

TEST(CAttrValue, ConversionTable) {
    CAttrValue v;
    v.setBool(true);
    EXPECT_EQ(v.getInt(), 1);
    EXPECT_EQ(v.getString(), "true");
    EXPECT_EQ(v.getDouble(), 0.0);  // a truth value has no number
    EXPECT_FALSE(v.flags() & CAttrValue::kDoubleValid);

    v.setDouble(0.5);
    EXPECT_EQ(v.getString(), "0.5000");
    EXPECT_FALSE(v.getBool());
    EXPECT_FALSE(v.flags() & CAttrValue::kBoolValid);
    v.setDouble(2.5);
    EXPECT_EQ(v.getInt(), 3);  // half away from zero
    v.setDouble(-2.5);
    EXPECT_EQ(v.getInt(), -3);
    EXPECT_EQ(v.getString(), "-2.5000");
    v.setDouble(-0.00004);
    EXPECT_EQ(v.getString(), "0.0000");
    v.setDouble(1.23456);
    EXPECT_EQ(v.getString(), "1.2346");
    v.setDouble(std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(v.getInt(), 0);
    EXPECT_FALSE(v.flags() & CAttrValue::kIntValid);
    v.setDouble(1e300);
    EXPECT_EQ(v.getInt(), 0);
    EXPECT_FALSE(v.getString().isEmpty());

    v.setInt(-42);
    EXPECT_TRUE(v.getBool());
    EXPECT_DOUBLE_EQ(v.getDouble(), -42.0);
    EXPECT_EQ(v.getString(), "-42");
    v.setInt(0);
    EXPECT_FALSE(v.getBool());

    v.setString("1");
    EXPECT_TRUE(v.getBool());
    v.setString("0");
    EXPECT_FALSE(v.getBool());
    EXPECT_TRUE(v.flags() & CAttrValue::kBoolValid);
    v.setString("yes");
    EXPECT_FALSE(v.getBool());
    EXPECT_FALSE(v.flags() & CAttrValue::kBoolValid);
    EXPECT_EQ(v.getDouble(), 0.0);
    EXPECT_EQ(v.getInt(), 0);
    v.setString("-1.5e3");
    EXPECT_DOUBLE_EQ(v.getDouble(), -1500.0);
    EXPECT_EQ(v.getInt(), 0);  // not an integer

    int x = 0;
    v.setPointer(&x);
    EXPECT_EQ(v.getPointer(), &x);
    EXPECT_FALSE(v.getBool());
    EXPECT_EQ(v.getInt(), 0);
    EXPECT_EQ(v.getString(), "");
    EXPECT_EQ(v.flags() & ~CAttrValue::kPointerValid, 0);
    v.setInt(3);
    EXPECT_EQ(v.getPointer(), nullptr);
}

TEST(CAttrValue, FormsAreConvertedOnceAndStoresResetThem) {
    CAttrValue v;
    v.setDouble(0.25);
    EXPECT_EQ(v.flags(), CAttrValue::kDoubleValid);
    EXPECT_EQ(v.getString(), "0.2500");
    EXPECT_EQ(v.flags(), CAttrValue::kDoubleValid | CAttrValue::kStringValid);
    // The cached text is handed out again, not rebuilt.
    const CString* first = &v.getString();
    EXPECT_EQ(first, &v.getString());

    // A store keeps only the queue and handler flags and its own form.
    v.setQueued(true);
    v.resolveHandler(nullptr);
    v.setInt(4);
    EXPECT_EQ(v.flags(), CAttrValue::kIntValid | CAttrValue::kQueued | CAttrValue::kHandlerResolved);
    EXPECT_EQ(v.getString(), "4");

    // A copy takes the value but not the owner's list state.
    CAttrValue copy(v);
    EXPECT_EQ(copy.getInt(), 4);
    EXPECT_FALSE(copy.isQueued());
    EXPECT_FALSE(copy.isHandlerResolved());
}
