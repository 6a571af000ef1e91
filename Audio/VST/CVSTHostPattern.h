#pragma once
#include <cstddef>
#include <cstdint>

namespace orl {

// The text patterns by which host quirks are recognised: `*` stands for any run of characters,
// `?` for any one character, everything else for itself. Host names are compared upper-cased.
class CVSTHostPattern {
public:
    // Whether the whole text matches the whole pattern.
    static bool matches(const char* text, const char* pattern) {
        // Greedy with one back-track point: the last `*` and where its run began.
        const char* star = nullptr;
        const char* resume = nullptr;
        while (*text) {
            if (*pattern == '*') {
                star = pattern++;
                resume = text;
            } else if (*pattern == '?' || *pattern == *text) {
                ++pattern;
                ++text;
            } else if (star) {
                pattern = star + 1;
                text = ++resume;
            } else {
                return false;
            }
        }
        while (*pattern == '*') ++pattern;
        return *pattern == 0;
    }

    // Upper-cases ASCII letters in place; other bytes (UTF-8 included) stay as they are.
    static void toUpper(char* text) {
        for (; *text; ++text) {
            if (*text >= 'a' && *text <= 'z') *text = static_cast<char>(*text - 'a' + 'A');
        }
    }
};

}  // namespace orl
