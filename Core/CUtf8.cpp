#include "Core/CUtf8.h"

namespace orl {

uint32_t CUtf8::decode(const uint8_t* raw, uint32_t length, char16_t* units, char16_t& highest) {
    uint32_t count = 0;
    highest = 0;
    uint32_t i = 0;
    while (i < length) {
        const uint8_t lead = raw[i];
        uint32_t cp;
        uint32_t extra;
        if (lead < 0x80) {
            cp = lead;
            extra = 0;
        } else if ((lead & 0xE0) == 0xC0) {
            cp = lead & 0x1Fu;
            extra = 1;
        } else if ((lead & 0xF0) == 0xE0) {
            cp = lead & 0x0Fu;
            extra = 2;
        } else if ((lead & 0xF8) == 0xF0) {
            cp = lead & 0x07u;
            extra = 3;
        } else {
            ++i;  // a stray continuation byte or an impossible lead byte
            continue;
        }
        if (length - i - 1 < extra) break;  // cut off by the end of the data
        for (uint32_t k = 1; k <= extra; ++k) cp = (cp << 6) | (raw[i + k] & 0x3Fu);
        i += 1 + extra;
        if (cp == 0) break;
        if (cp > 0x10FFFF) continue;
        if (cp > 0xFFFF) {
            // A four-byte character yields two units from four bytes, so the bound still holds.
            cp -= 0x10000;
            units[count++] = static_cast<char16_t>(0xD800 + (cp >> 10));
            units[count++] = static_cast<char16_t>(0xDC00 + (cp & 0x3FF));
            if (highest < 0xDC00) highest = 0xDC00;
        } else {
            units[count++] = static_cast<char16_t>(cp);
            if (cp > highest) highest = static_cast<char16_t>(cp);
        }
    }
    return count;
}

}  // namespace orl
