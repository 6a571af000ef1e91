#include "Core/CString.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <map>
#include <string>
#include <vector>

using orl::CArray;
using orl::CString;

namespace {

std::string repeat(char c, int n) { return std::string(static_cast<size_t>(n), c); }

std::u16string repeat16(char16_t c, int n) { return std::u16string(static_cast<size_t>(n), c); }

std::vector<std::string> texts(const CArray<CString>& a) {
    std::vector<std::string> v;
    for (const CString& s : a) v.emplace_back(s.narrowed().c8());
    return v;
}

}  // namespace

TEST(CStringTest, NarrowInlineLimitAndGrowth) {
    CString s(repeat('a', 26).c_str());
    EXPECT_TRUE(s.isInline());
    EXPECT_EQ(s.capacityBytes(), 27u);

    s.append('b');  // 27 characters: leaves the buffer with exactly the need
    EXPECT_FALSE(s.isInline());
    EXPECT_EQ(s.capacityBytes(), 28u);
    EXPECT_EQ(s.length(), 27);
    EXPECT_EQ(s, (repeat('a', 26) + "b").c_str());

    s.append('c');  // heap growth: need 29 + 16
    EXPECT_EQ(s.capacityBytes(), 45u);
    const char* before = s.c8();
    while (s.length() < 44) s.append('d');
    EXPECT_EQ(s.c8(), before);  // filled up to the last byte without moving
    s.append('e');
    EXPECT_EQ(s.capacityBytes(), 46u + 16u);
    EXPECT_EQ(s.at(44), u'e');
    EXPECT_EQ(s.c8()[45], '\0');

    // Shorter text keeps the storage; clear keeps it as well.
    s = "short";
    EXPECT_FALSE(s.isInline());
    s.clear();
    EXPECT_TRUE(s.isEmpty());
    EXPECT_EQ(s.capacityBytes(), 62u);

    // A copy starts over inline when its text fits.
    CString big(repeat('x', 40).c_str());
    EXPECT_EQ(big.capacityBytes(), 41u);
    big = "tiny";
    CString copy(big);
    EXPECT_TRUE(copy.isInline());
}

TEST(CStringTest, WideInlineLimitAndGrowth) {
    CString w(repeat16(u'\u0400', 12).c_str());
    EXPECT_TRUE(w.isWide());
    EXPECT_TRUE(w.isInline());
    w.append(u'\u0401');  // 13 characters need 28 bytes
    EXPECT_FALSE(w.isInline());
    EXPECT_EQ(w.capacityBytes(), 28u);
    w.append(u'\u0402');  // need 30 + 32
    EXPECT_EQ(w.capacityBytes(), 62u);
    EXPECT_EQ(w.length(), 14);
    EXPECT_EQ(w.at(12), u'\u0401');
    EXPECT_EQ(w.c16()[14], u'\0');
    EXPECT_EQ(std::u16string(w.c16()), repeat16(u'\u0400', 12) + u"\u0401\u0402");
}

TEST(CStringTest, Widening) {
    CString s("abc\xE9");
    s.append(char16_t(0xFF));  // still fits 8 bits
    EXPECT_FALSE(s.isWide());
    s.append(u"xy");  // 16-bit text whose units all fit 8 bits is appended narrow
    EXPECT_FALSE(s.isWide());
    s.append(char16_t(0x100));
    EXPECT_TRUE(s.isWide());
    EXPECT_EQ(std::u16string(s.c16()), u"abc\u00E9\u00FFxy\u0100");

    s = "back to plain";  // 8-bit text doesn't narrow a wide string
    EXPECT_TRUE(s.isWide());
    EXPECT_EQ(s, "back to plain");

    CString n("plain");
    n = u"x";
    EXPECT_TRUE(n.isWide());
    CString copy;
    copy = s;  // assigning a wide string widens too
    EXPECT_TRUE(copy.isWide());

    // 12 characters widen inside the buffer, 26 need the heap (exactly 54 bytes).
    CString twelve(repeat('q', 12).c_str());
    twelve.widen();
    EXPECT_TRUE(twelve.isInline());
    EXPECT_EQ(std::u16string(twelve.c16()), repeat16(u'q', 12));
    CString full(repeat('r', 26).c_str());
    full.widen();
    EXPECT_EQ(full.capacityBytes(), 54u);
    EXPECT_EQ(std::u16string(full.c16()), repeat16(u'r', 26));

    // Heap storage with room converts in place, from the end.
    CString h(repeat('h', 27).c_str());
    h.append('h');  // capacity 45
    const std::string text = "0123456789\x80\x81\xFE\xFF" "abcdef";
    h = text.c_str();
    const void* storage = h.c8();
    h.widen();
    EXPECT_EQ(static_cast<const void*>(h.c16()), storage);
    for (int i = 0; i < h.length(); ++i) EXPECT_EQ(h.at(i), static_cast<unsigned char>(text[i])) << i;
    EXPECT_EQ(h.narrowed(), text.c_str());
}

TEST(CStringTest, CompareAcrossWidths) {
    const CString narrow("abc");
    const CString wide(u"abc");
    EXPECT_EQ(narrow, wide);
    EXPECT_EQ(narrow.compare(wide), 0);
    EXPECT_LT(CString("ab"), CString(u"abc"));
    EXPECT_GT(CString(u"abd"), CString("abc"));
    EXPECT_LT(CString("z"), CString("\xE9"));  // 8-bit units are unsigned
    EXPECT_GT(CString("\xE9"), "z");
    EXPECT_LT(CString("\xFF"), CString(u"\u0100"));
    EXPECT_TRUE("abc" == wide);
    EXPECT_TRUE("abd" > wide);
    EXPECT_TRUE(wide <= "abc");
    EXPECT_TRUE(wide != "ab");
    EXPECT_NE(CString("ab"), CString("ab\xE9"));
    EXPECT_LT(CString::empty(), "a");

    std::map<CString, int> m;
    m[CString(u"beta")] = 2;
    m[CString("alpha")] = 1;
    m[CString("\xE9t\xE9")] = 3;
    EXPECT_EQ(m.at(CString("beta")), 2);
    EXPECT_EQ(m.begin()->first, "alpha");
    EXPECT_EQ(m.rbegin()->second, 3);
}

TEST(CStringTest, Substring) {
    EXPECT_TRUE(CString("a").substring(1, -1).isEmpty());
    EXPECT_TRUE(CString("abc").substring(7).isEmpty());
    EXPECT_EQ(CString("abcdef").substring(2), "cdef");
    EXPECT_EQ(CString("abcdef").substring(2, 3), "cde");
    EXPECT_EQ(CString("abcdef").substring(4, 99), "ef");
    EXPECT_TRUE(CString("abcdef").substring(0, 0).isEmpty());
    const CString w = CString(u"x\u0410yz").substring(1, 2);
    EXPECT_TRUE(w.isWide());
    EXPECT_EQ(std::u16string(w.c16()), u"\u0410y");
}

TEST(CStringTest, FindAndSplit) {
    const CString s("a.b.c");
    EXPECT_EQ(s.find('.'), 1);
    EXPECT_EQ(s.find('.', 2), 3);
    EXPECT_EQ(s.find('.', 4), -1);
    EXPECT_EQ(s.findLast('.'), 3);
    EXPECT_EQ(s.findLast('.', 2), 1);
    EXPECT_EQ(s.findLast('a', 0), 0);
    EXPECT_EQ(s.findLast('x'), -1);
    EXPECT_EQ(CString::empty().findLast('x'), -1);
    EXPECT_EQ(s.find(u'\u0100'), -1);
    EXPECT_EQ(CString(u"x\u0100y").find(u'\u0100'), 1);
    EXPECT_EQ(CString("abcabc").findText("ca"), 2);
    EXPECT_EQ(CString("abcabc").findText(CString(u"bc"), 2), 4);
    EXPECT_EQ(CString("abcabc").findText("cab", 3), -1);
    EXPECT_TRUE(s.startsWith("a.b"));
    EXPECT_TRUE(s.startsWith(CString(u"a.")));
    EXPECT_FALSE(s.startsWith("a.b.c."));

    CArray<CString> parts;
    CString(",a,,b,").split(',', false, true, parts);
    EXPECT_EQ(texts(parts), (std::vector<std::string>{"", "a", "", "b", ""}));
    CString("x;;y").split(';', true, false, parts);  // appends
    EXPECT_EQ(texts(parts), (std::vector<std::string>{"", "a", "", "b", "", "x", "y"}));
    CString("k").split(';', true, true, parts);
    EXPECT_EQ(texts(parts), (std::vector<std::string>{"k"}));
    CString::empty().split(';', true, true, parts);
    EXPECT_TRUE(parts.isEmpty());
    CString::empty().split(';', false, true, parts);
    EXPECT_EQ(texts(parts), (std::vector<std::string>{""}));

    // A piece of the output split into the same output.
    parts.clear();
    parts.add(CString("one two three four five six"));
    parts[0].split(' ', true, true, parts);
    EXPECT_EQ(texts(parts), (std::vector<std::string>{"one", "two", "three", "four", "five", "six"}));

    CString(u"p\u0101q").split(u'\u0101', false, true, parts);
    ASSERT_EQ(parts.count(), 2);
    EXPECT_TRUE(parts[0].isWide());
    EXPECT_EQ(parts[1], "q");
}

TEST(CStringTest, ToInt) {
    struct Case {
        const char* text;
        bool ok;
        int32_t value;
    };
    const Case cases[] = {
        {"0", true, 0},
        {"12", true, 12},
        {"012", true, 12},
        {"-45", true, -45},
        {"2147483647", true, INT32_MAX},
        {"-2147483648", true, INT32_MIN},
        {"2147483648", false, 0},
        {"-2147483649", false, 0},
        {"99999999999", false, 0},
        {"0x1f", true, 31},
        {"0X1F", true, 31},
        {"#ff", true, 255},
        {"$10", true, 16},
        {"-0x10", true, -16},
        {"#FF102030", true, static_cast<int32_t>(0xFF102030u)},
        {"0xFFFFFFFF", true, -1},
        {"-#FFFFFFFF", true, 1},
        {"0x100000000", false, 0},
        {"0x0000000000001", true, 1},
        {"0x", false, 0},
        {"#", false, 0},
        {"-", false, 0},
        {"", false, 0},
        {"1.0", false, 0},
        {" 1", false, 0},
        {"1 ", false, 0},
        {"+1", false, 0},
        {"0x1g", false, 0},
        {"12a", false, 0},
        {"--1", false, 0},
    };
    for (const Case& c : cases) {
        int32_t v = 777;
        EXPECT_EQ(CString(c.text).toInt(v), c.ok) << c.text;
        if (c.ok) {
            EXPECT_EQ(v, c.value) << c.text;
        }
        // The same through 16-bit storage.
        CString w(c.text);
        w.widen();
        int32_t wv = 777;
        EXPECT_EQ(w.toInt(wv), c.ok) << c.text;
        if (c.ok) {
            EXPECT_EQ(wv, c.value) << c.text;
        }
    }
    int32_t v = 0;
    EXPECT_FALSE(CString(u"1\u0661").toInt(v));  // digits outside ASCII don't count
    EXPECT_FALSE(CString("1\xB2").toInt(v));

    int64_t w = 0;
    EXPECT_TRUE(CString("9223372036854775807").toInt64(w));
    EXPECT_EQ(w, INT64_MAX);
    EXPECT_TRUE(CString("-9223372036854775808").toInt64(w));
    EXPECT_EQ(w, INT64_MIN);
    EXPECT_FALSE(CString("9223372036854775808").toInt64(w));
    EXPECT_TRUE(CString("0xFFFFFFFFFFFFFFFF").toInt64(w));
    EXPECT_EQ(w, -1);
    EXPECT_TRUE(CString("#FF102030").toInt64(w));
    EXPECT_EQ(w, 0xFF102030LL);
    EXPECT_FALSE(CString("0x10000000000000000").toInt64(w));
    EXPECT_FALSE(CString("0x").toInt64(w));
}

TEST(CStringTest, ToDoubleAndFromInt) {
    double d = 0;
    EXPECT_TRUE(CString("1.5").toDouble(d));
    EXPECT_EQ(d, 1.5);
    EXPECT_TRUE(CString("-0.25").toDouble(d));
    EXPECT_EQ(d, -0.25);
    EXPECT_TRUE(CString("12").toDouble(d));
    EXPECT_EQ(d, 12.0);
    EXPECT_TRUE(CString("2.5e3").toDouble(d));
    EXPECT_EQ(d, 2500.0);
    EXPECT_TRUE(CString(".5").toDouble(d));
    EXPECT_EQ(d, 0.5);
    EXPECT_TRUE(CString(u"3.75").toDouble(d));
    EXPECT_EQ(d, 3.75);
    d = 42;
    for (const char* bad : {"", "-", "1,5", " 1", "1 ", "1e", "abc", "inf", "nan", "+1", "0x10", "1e999"})
        EXPECT_FALSE(CString(bad).toDouble(d)) << bad;
    EXPECT_FALSE(CString(u"1\u00B2").toDouble(d));
    EXPECT_EQ(d, 42.0);  // failures leave the output alone

    const int64_t values[] = {0, 7, -7, 1234567890123LL, INT64_MAX, INT64_MIN, INT32_MIN};
    for (int64_t v : values) {
        const CString s = CString::fromInt(v);
        EXPECT_EQ(std::string(s.c8()), std::to_string(v));
        int64_t back = 0;
        EXPECT_TRUE(s.toInt64(back));
        EXPECT_EQ(back, v);
    }
}

TEST(CStringTest, CopyMoveAndSelfReference) {
    CString heap(repeat('m', 30).c_str());
    const char* storage = heap.c8();
    CString moved(std::move(heap));
    EXPECT_EQ(moved.c8(), storage);  // heap text changes hands
    EXPECT_TRUE(heap.isEmpty());
    EXPECT_TRUE(heap.isInline());

    CString target(u"wide");
    target = std::move(moved);  // a wide target stays wide
    EXPECT_TRUE(target.isWide());
    EXPECT_EQ(target, repeat('m', 30).c_str());

    CString s("abc");
    s.append(s);
    s += s;
    EXPECT_EQ(s, "abcabcabcabc");
    s.append(s.c8() + 9);  // source inside storage that is about to grow
    EXPECT_EQ(s, "abcabcabcabcabc");
    s.assign(s.c8() + 3);  // overlapping source
    EXPECT_EQ(s, "abcabcabcabc");
    s.assign(s.c8() + 3, 3);
    EXPECT_EQ(s, "abc");
    EXPECT_EQ(CString("ab") + CString(u"\u0100"), CString(u"ab\u0100"));

    const CString& e = CString::empty();
    EXPECT_EQ(&e, &CString::empty());
    EXPECT_TRUE(e.isEmpty());
    EXPECT_EQ(e, "");
    EXPECT_STREQ(e.c8(), "");
}

TEST(CStringTest, FormatAndNarrow) {
    EXPECT_EQ(CString::format("%d-%s", 42, "x"), "42-x");
    const CString longer = CString::format("%s|%05d", repeat('z', 40).c_str(), 7);
    EXPECT_EQ(longer.length(), 46);
    EXPECT_EQ(longer.capacityBytes(), 47u);
    EXPECT_EQ(longer, (repeat('z', 40) + "|00007").c_str());

    const CString n = CString(u"A\u0142B").narrowed();
    EXPECT_FALSE(n.isWide());
    EXPECT_EQ(n.length(), 3);
    EXPECT_EQ(n.at(1), 0x42);
}
