#include "Audio/VST/CVSTHostPattern.h"

#include <gtest/gtest.h>

#include <string>

using namespace orl;

TEST(CVSTHostPatternTest, StarsQuestionMarksAndUpperCase) {
    struct CCase {
        const char* text;
        const char* pattern;
        bool matches;
    };
    const CCase cases[] = {
        {"ADOBE PREMIERE PRO", "*PREMIERE*", true},
        {"PREMIERE", "*PREMIERE*", true},
        {"PREMIER", "*PREMIERE*", false},
        {"SONY ACID PRO", "SONY ACID PRO", true},
        {"SONY ACID PRO 7", "SONY ACID PRO", false},
        {"WAVELAB 11", "WAVELAB ??", true},
        {"WAVELAB 1", "WAVELAB ??", false},
        {"ABCABCABD", "*ABD", true},  // the first candidate for the star is not the right one
        {"ABCABCABE", "*AB?", true},
        {"AXBXC", "A*B*C", true},
        {"AXBXCX", "A*B*C", false},
        {"", "*", true},
        {"", "?", false},
        {"X", "", false},
    };
    for (const CCase& c : cases) EXPECT_EQ(CVSTHostPattern::matches(c.text, c.pattern), c.matches) << c.text << " ~ " << c.pattern;

    char text[] = "Twelve Tone Systems, Inc. 1.0 \xc3\xa9";
    CVSTHostPattern::toUpper(text);
    EXPECT_EQ(std::string(text), "TWELVE TONE SYSTEMS, INC. 1.0 \xc3\xa9");
    EXPECT_TRUE(CVSTHostPattern::matches(text, "*TWELVE TONE*"));
}
