#include "Core/CString.h"

#include <gtest/gtest.h>

#include <cstdint>
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

// Appends `ch` up to `n` characters; returns each (length, capacity) the string passes through,
// and checks that the storage is inline exactly while the capacity is the buffer's.
std::vector<std::pair<int, uint32_t>> growth(CString& s, char16_t ch, int n) {
    std::vector<std::pair<int, uint32_t>> steps{{s.length(), s.capacityBytes()}};
    while (s.length() < n) {
        s.append(ch);
        if (s.capacityBytes() != steps.back().second) steps.emplace_back(s.length(), s.capacityBytes());
        EXPECT_EQ(s.isInline(), steps.size() == 1) << s.length();
    }
    return steps;
}

int sign(int v) { return (v > 0) - (v < 0); }

}  // namespace

// Appending one character at a time: 26 narrow or 12 wide characters stay in the buffer, the
// first step out takes exactly the need, and later growth adds 16 characters' worth of bytes.
TEST(CStringTest, InlineLimitAndGrowth) {
    using V = std::vector<std::pair<int, uint32_t>>;
    CString s;
    EXPECT_EQ(growth(s, u'a', 46), (V{{0, 27}, {27, 28}, {28, 45}, {45, 62}}));
    EXPECT_EQ(std::string(s.c8()), repeat('a', 46));
    CString w;
    EXPECT_EQ(growth(w, u'\u0400', 15), (V{{0, 27}, {13, 28}, {14, 62}}));
    EXPECT_EQ(std::u16string(w.c16()), repeat16(u'\u0400', 15));

    // Shorter text and clear keep the storage; a copy starts over inline when its text fits.
    s = "short";
    EXPECT_FALSE(s.isInline());
    s.clear();
    EXPECT_TRUE(s.isEmpty());
    EXPECT_EQ(s.capacityBytes(), 62u);
    CString big(repeat('x', 40).c_str());
    EXPECT_EQ(big.capacityBytes(), 41u);
    big = "tiny";
    EXPECT_TRUE(CString(big).isInline());
}

TEST(CStringTest, Widening) {
    CString s("abc\xE9");
    s.append(char16_t(0xFF));  // still fits 8 bits
    s.append(u"xy");           // 16-bit text whose units all fit 8 bits is appended narrow
    EXPECT_FALSE(s.isWide());
    s.append(char16_t(0x100));
    EXPECT_TRUE(s.isWide());
    EXPECT_EQ(std::u16string(s.c16()), u"abc\u00E9\u00FFxy\u0100");
    s = "back to plain";  // 8-bit text doesn't narrow a wide string
    EXPECT_TRUE(s.isWide());
    EXPECT_EQ(s, "back to plain");
    CString n("plain"), copy;
    n = u"x";  // assigning 16-bit text or a wide string widens
    copy = s;
    EXPECT_TRUE(n.isWide() && copy.isWide());

    // 12 characters widen inside the buffer, 26 need the heap (exactly 54 bytes).
    CString twelve(repeat('q', 12).c_str());
    twelve.widen();
    EXPECT_TRUE(twelve.isInline());
    EXPECT_EQ(std::u16string(twelve.c16()), repeat16(u'q', 12));
    CString full(repeat('r', 26).c_str());
    full.widen();
    EXPECT_EQ(full.capacityBytes(), 54u);
    EXPECT_EQ(std::u16string(full.c16()), repeat16(u'r', 26));

    // Heap storage with room converts in place, from the end; units above 127 stay unsigned.
    CString h(repeat('h', 27).c_str());
    h.append('h');  // capacity 45
    const std::string text = "0123456789\x80\x81\xFE\xFF" "abcdef";
    h = text.c_str();
    const void* storage = h.c8();
    h.widen();
    EXPECT_EQ(static_cast<const void*>(h.c16()), storage);
    for (int i = 0; i < h.length(); ++i) EXPECT_EQ(h.at(i), static_cast<unsigned char>(text[i])) << i;
    EXPECT_EQ(h.narrowed(), text.c_str());
    const CString narrowed = CString(u"A\u0142B").narrowed();  // keeps the low byte of each unit
    EXPECT_FALSE(narrowed.isWide());
    EXPECT_EQ(narrowed, "ABB");
}

TEST(CStringTest, CompareAcrossWidths) {
    struct SCase {
        CString a, b;
        int sign;
    };
    const SCase cases[] = {
        {"abc", u"abc", 0},  {"ab", u"abc", -1},         {u"abd", "abc", 1},   {"z", "\xE9", -1},  // units are unsigned
        {"\xFF", u"\u0100", -1}, {u"\u0100", "\xE9", 1}, {"ab", "ab\xE9", -1}, {CString::empty(), "a", -1},
    };
    for (const SCase& c : cases) {
        SCOPED_TRACE(testing::Message() << c.a.narrowed().c8() << " vs " << c.b.narrowed().c8());
        EXPECT_EQ(sign(c.a.compare(c.b)), c.sign);
        EXPECT_EQ(sign(c.b.compare(c.a)), -c.sign);
        EXPECT_EQ(c.a == c.b, c.sign == 0);
        EXPECT_EQ(c.a < c.b, c.sign < 0);
        if (!c.b.isWide()) {
            EXPECT_EQ(sign(c.a.compare(c.b.c8())), c.sign);
        }
    }
    const CString wide(u"abc");
    EXPECT_TRUE("abc" == wide && "abd" > wide && "ab" < wide && wide <= "abc" && wide != "ab");
}

TEST(CStringTest, SubstringFindAndSplit) {
    EXPECT_TRUE(CString("a").substring(1, -1).isEmpty());
    EXPECT_TRUE(CString("abc").substring(7).isEmpty());
    EXPECT_TRUE(CString("abcdef").substring(0, 0).isEmpty());
    EXPECT_EQ(CString("abcdef").substring(2), "cdef");
    EXPECT_EQ(CString("abcdef").substring(2, 3), "cde");
    EXPECT_EQ(CString("abcdef").substring(4, 99), "ef");
    const CString w = CString(u"x\u0410yz").substring(1, 2);
    EXPECT_TRUE(w.isWide());
    EXPECT_EQ(std::u16string(w.c16()), u"\u0410y");

    const CString s("a.b.c");
    EXPECT_EQ(s.find('.'), 1);
    EXPECT_EQ(s.find('.', 2), 3);
    EXPECT_EQ(s.find('.', 4), -1);
    EXPECT_EQ(s.findLast('.'), 3);
    EXPECT_EQ(s.findLast('.', 2), 1);
    EXPECT_EQ(s.findLast('a', 0), 0);
    EXPECT_EQ(CString::empty().findLast('x'), -1);
    EXPECT_EQ(s.find(u'\u0100'), -1);
    EXPECT_EQ(CString(u"x\u0100y").find(u'\u0100'), 1);
    EXPECT_EQ(CString("abcabc").findText("ca"), 2);
    EXPECT_EQ(CString("abcabc").findText(CString(u"bc"), 2), 4);
    EXPECT_EQ(CString("abcabc").findText("cab", 3), -1);
    EXPECT_TRUE(s.startsWith("a.b"));
    EXPECT_TRUE(s.startsWith(CString(u"a.")));
    EXPECT_FALSE(s.startsWith("a.b.c."));

    using V = std::vector<std::string>;
    CArray<CString> parts;
    CString(",a,,b,").split(',', false, true, parts);
    EXPECT_EQ(texts(parts), (V{"", "a", "", "b", ""}));
    CString("x;;y").split(';', true, false, parts);  // appends
    EXPECT_EQ(texts(parts), (V{"", "a", "", "b", "", "x", "y"}));
    CString("k").split(';', true, true, parts);
    EXPECT_EQ(texts(parts), (V{"k"}));
    CString::empty().split(';', true, true, parts);
    EXPECT_TRUE(parts.isEmpty());
    CString::empty().split(';', false, true, parts);
    EXPECT_EQ(texts(parts), (V{""}));
    parts[0] = "one two three four five six";  // a piece of the output split into the same output
    parts[0].split(' ', true, true, parts);
    EXPECT_EQ(texts(parts), (V{"one", "two", "three", "four", "five", "six"}));
    CString(u"p\u0101q").split(u'\u0101', false, true, parts);
    ASSERT_EQ(parts.count(), 2);
    EXPECT_TRUE(parts[0].isWide());
    EXPECT_EQ(parts[1], "q");

    EXPECT_EQ(CString(" \t a b\r\n").trimmed(), "a b");
    EXPECT_EQ(CString(" \n\t ").trimmed(), "");
    EXPECT_EQ(CString(u" \u0101 ").trimmed(), CString(u"\u0101"));
}

TEST(CStringTest, NumberParsing) {
    struct SCase {
        const char* text;
        bool ok;
        int64_t value;
        bool is64 = false;
    };
    const SCase cases[] = {
        {"0", true, 0},           {"012", true, 12},           {"-45", true, -45},
        {"2147483647", true, INT32_MAX},   {"-2147483648", true, INT32_MIN},  {"2147483648", false, 0},
        {"-2147483649", false, 0}, {"99999999999", false, 0},  {"0x1f", true, 31},
        {"0X1F", true, 31},       {"#ff", true, 255},          {"$10", true, 16},
        {"-0x10", true, -16},     {"#FF102030", true, static_cast<int32_t>(0xFF102030u)},
        {"0xFFFFFFFF", true, -1}, {"-#FFFFFFFF", true, 1},     {"0x100000000", false, 0},
        {"0x0000000000001", true, 1}, {"0x", false, 0},        {"#", false, 0},
        {"-", false, 0},          {"", false, 0},              {"1.0", false, 0},
        {" 1", false, 0},         {"1 ", false, 0},            {"+1", false, 0},
        {"0x1g", false, 0},       {"12a", false, 0},           {"--1", false, 0},
        {"1\xB2", false, 0},  // digits outside ASCII don't count
        {"9223372036854775807", true, INT64_MAX, true}, {"-9223372036854775808", true, INT64_MIN, true},
        {"9223372036854775808", false, 0, true},        {"0xFFFFFFFFFFFFFFFF", true, -1, true},
        {"#FF102030", true, 0xFF102030LL, true},        {"0x10000000000000000", false, 0, true},
        {"0x", false, 0, true},
    };
    for (const SCase& c : cases) {
        CString w(c.text);  // the same through 16-bit storage
        w.widen();
        for (const CString& s : {CString(c.text), w}) {
            int64_t v = 777;
            int32_t v32 = 777;
            EXPECT_EQ(c.is64 ? s.toInt64(v) : s.toInt(v32), c.ok) << c.text;
            EXPECT_EQ(c.is64 ? v : v32, c.ok ? c.value : 777) << c.text;
        }
    }
    int32_t v = 0;
    EXPECT_FALSE(CString(u"1\u0661").toInt(v));

    const std::pair<const char*, double> doubles[] = {
        {"1.5", 1.5}, {"-0.25", -0.25}, {"12", 12.0}, {"2.5e3", 2500.0}, {".5", 0.5}};
    for (const auto& [text, value] : doubles) {
        double d = 0;
        EXPECT_TRUE(CString(text).toDouble(d)) << text;
        EXPECT_EQ(d, value) << text;
    }
    double d = 42;
    EXPECT_TRUE(CString(u"3.75").toDouble(d));
    EXPECT_EQ(d, 3.75);
    for (const char* bad : {"", "-", "1,5", " 1", "1 ", "1e", "abc", "inf", "nan", "+1", "0x10", "1e999"})
        EXPECT_FALSE(CString(bad).toDouble(d)) << bad;
    EXPECT_FALSE(CString(u"1\u00B2").toDouble(d));
    EXPECT_EQ(d, 3.75);  // failures leave the output alone

    for (int64_t value : {int64_t(0), int64_t(-7), int64_t(1234567890123), INT64_MAX, INT64_MIN}) {
        const CString s = CString::fromInt(value);
        EXPECT_EQ(std::string(s.c8()), std::to_string(value));
        int64_t back = 0;
        EXPECT_TRUE(s.toInt64(back));
        EXPECT_EQ(back, value);
    }
}

TEST(CStringTest, CopyMoveSelfReferenceAndFormat) {
    CString heap(repeat('m', 30).c_str());
    const char* storage = heap.c8();
    CString moved(std::move(heap));
    EXPECT_EQ(moved.c8(), storage);  // heap text changes hands
    EXPECT_TRUE(heap.isEmpty() && heap.isInline());
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
    EXPECT_STREQ(CString::empty().c8(), "");

    EXPECT_EQ(CString::format("%d-%s", 42, "x"), "42-x");
    const CString longer = CString::format("%s|%05d", repeat('z', 40).c_str(), 7);  // past the inline buffer
    EXPECT_EQ(longer.capacityBytes(), 47u);
    EXPECT_EQ(longer, (repeat('z', 40) + "|00007").c_str());
}
