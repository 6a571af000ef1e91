#pragma once
#include <cstdint>

namespace orl {

// UTF-8 to 16-bit text, the one decoding that streams and definition trees share. A lead byte
// decides the length (110xxxxx two, 1110xxxx three, 11110xxx four bytes); any other byte above
// 127 is skipped; a sequence cut off by the end, or a decoded NUL, ends the text; characters
// beyond 16 bits become surrogate pairs.
class CUtf8 {
public:
    // Writes at most `length` units; returns how many. `highest` gets the largest unit written.
    static uint32_t decode(const uint8_t* raw, uint32_t length, char16_t* units, char16_t& highest);
};

}  // namespace orl
