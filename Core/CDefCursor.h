#pragma once
#include <cstdint>
#include <cstring>

namespace orl {

class CError;
class CString;

// A read position inside the bytes of a compiled definition tree. Every read checks the end,
// so a damaged tree fails with an end-of-data error instead of reading out of bounds.
class CDefCursor {
public:
    CDefCursor(const uint8_t* data, uint32_t size) : m_data(data), m_size(size) {}

    const uint8_t* position() const { return m_data + m_pos; }
    uint32_t remaining() const { return m_size - m_pos; }

    bool read8(uint8_t& out) { return take(&out, 1); }
    bool read16(uint16_t& out) {
        uint8_t b[2];
        if (!take(b, 2)) return false;
        out = static_cast<uint16_t>(b[0] | (b[1] << 8));
        return true;
    }
    bool read32(uint32_t& out) {
        uint8_t b[4];
        if (!take(b, 4)) return false;
        out = static_cast<uint32_t>(b[0]) | (static_cast<uint32_t>(b[1]) << 8) | (static_cast<uint32_t>(b[2]) << 16) |
              (static_cast<uint32_t>(b[3]) << 24);
        return true;
    }
    bool skip(uint32_t count) {
        if (count > remaining()) return fail(count);
        m_pos += count;
        return true;
    }

    // The error of the last failed read, as a memory reader words it; the position is unchanged.
    CError* error(const CString& objectName) const;

private:
    bool take(void* out, uint32_t count) {
        if (count > remaining()) return fail(count);
        std::memcpy(out, m_data + m_pos, count);
        m_pos += count;
        return true;
    }
    bool fail(uint32_t count) {
        m_failedCount = count;
        return false;
    }

    const uint8_t* m_data;
    uint32_t m_size;
    uint32_t m_pos = 0;
    uint32_t m_failedCount = 0;
};

}  // namespace orl
