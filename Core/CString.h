#pragma once
#include <cstdint>

#include "Core/CArray.h"

namespace orl {

// The one string class of the framework. A string holds either 8-bit text (code units 0..255)
// or 16-bit text, always NUL-terminated in its own width. Short text lives in an inline buffer
// of 27 bytes (26 narrow or 12 wide characters plus the terminator) so that it costs no
// allocation; longer text goes to the pools. A string widens when 16-bit text is assigned to it
// or a character above 255 is appended; it never narrows by itself. Comparison works by code
// unit and across widths.
class CString {
public:
    static constexpr uint32_t kInlineBytes = 27;
    static constexpr int32_t kInlineChars8 = 26;
    static constexpr int32_t kInlineChars16 = 12;

    CString() { initEmpty(); }
    CString(const char* text);
    CString(const char* text, int32_t len);
    CString(const char16_t* text);
    CString(const char16_t* text, int32_t len);
    CString(const CString& other);
    CString(CString&& other) noexcept;
    ~CString();

    CString& operator=(const CString& other) { return assign(other); }
    CString& operator=(CString&& other) noexcept;
    CString& operator=(const char* text) { return assign(text); }
    CString& operator=(const char16_t* text) { return assign(text); }

    // The process-wide empty string, handed out by getters that have nothing to return.
    static const CString& empty();

    int32_t length() const { return static_cast<int32_t>(m_length); }
    bool isEmpty() const { return m_length == 0; }
    bool isWide() const { return m_wide != 0; }
    uint32_t capacityBytes() const { return m_capacity; }
    bool isInline() const { return m_text == m_inline; }

    const char* c8() const;
    const char16_t* c16() const;
    // Code unit i of either width; i == length() gives the terminator 0.
    char16_t at(int32_t i) const;

    CString& assign(const CString& other);
    CString& assign(const char* text, int32_t len = -1);
    CString& assign(const char16_t* text, int32_t len = -1);

    CString& append(const CString& other);
    CString& append(const char* text, int32_t len = -1);
    CString& append(const char16_t* text, int32_t len = -1);
    CString& append(char16_t ch);

    CString& operator+=(const CString& other) { return append(other); }
    CString& operator+=(const char* text) { return append(text); }
    CString& operator+=(char16_t ch) { return append(ch); }
    friend CString operator+(const CString& a, const CString& b);

    int compare(const CString& other) const;
    int compare(const char* text) const;

    friend bool operator==(const CString& a, const CString& b) { return a.equals(b); }
    friend bool operator!=(const CString& a, const CString& b) { return !a.equals(b); }
    friend bool operator<(const CString& a, const CString& b) { return a.compare(b) < 0; }
    friend bool operator<=(const CString& a, const CString& b) { return a.compare(b) <= 0; }
    friend bool operator>(const CString& a, const CString& b) { return a.compare(b) > 0; }
    friend bool operator>=(const CString& a, const CString& b) { return a.compare(b) >= 0; }

    friend bool operator==(const CString& a, const char* b) { return a.compare(b) == 0; }
    friend bool operator!=(const CString& a, const char* b) { return a.compare(b) != 0; }
    friend bool operator<(const CString& a, const char* b) { return a.compare(b) < 0; }
    friend bool operator<=(const CString& a, const char* b) { return a.compare(b) <= 0; }
    friend bool operator>(const CString& a, const char* b) { return a.compare(b) > 0; }
    friend bool operator>=(const CString& a, const char* b) { return a.compare(b) >= 0; }

    friend bool operator==(const char* a, const CString& b) { return b.compare(a) == 0; }
    friend bool operator!=(const char* a, const CString& b) { return b.compare(a) != 0; }
    friend bool operator<(const char* a, const CString& b) { return b.compare(a) > 0; }
    friend bool operator<=(const char* a, const CString& b) { return b.compare(a) >= 0; }
    friend bool operator>(const char* a, const CString& b) { return b.compare(a) < 0; }
    friend bool operator>=(const char* a, const CString& b) { return b.compare(a) <= 0; }

    // length -1 means "to the end"; a start at or beyond the end gives the empty string.
    // The result keeps this string's width.
    CString substring(int32_t start, int32_t length = -1) const;
    int32_t find(char16_t ch, int32_t from = 0) const;
    // Searches backwards starting at index from (-1: the last character).
    int32_t findLast(char16_t ch, int32_t from = -1) const;
    int32_t findText(const CString& what, int32_t from = 0) const;
    // Appends one string per piece between separators; skipEmpty drops empty pieces,
    // clearFirst empties out before appending.
    void split(char16_t separator, bool skipEmpty, bool clearFirst, CArray<CString>& out) const;
    bool startsWith(const CString& prefix) const;
    bool startsWith(const char* prefix) const;

    // An 8-bit copy keeping the low byte of each character, for 8-bit interfaces.
    CString narrowed() const;
    // Without the blanks, tabs, line feeds and carriage returns at either end.
    CString trimmed() const;
    // Empties the text, keeping width and storage.
    void clear();
    // Converts to 16-bit storage in place.
    void widen();

    // Integer syntax: optional "-", then a hexadecimal number behind "0x", "0X", "#" or "$",
    // or a decimal number, consuming the whole text. Decimal values must fit the target;
    // hexadecimal ones may use all its bits, and the "-" negates those bits.
    bool toInt(int32_t& out) const;
    bool toInt64(int64_t& out) const;
    // A C-locale decimal number taking the whole text.
    bool toDouble(double& out) const;

    static CString fromInt(int64_t v);
    static CString format(const char* fmt, ...) __attribute__((format(printf, 1, 2)));

private:
    void initEmpty() {
        m_text = m_inline;
        m_capacity = kInlineBytes;
        m_length = 0;
        m_inline[0] = 0;
        m_inline[1] = 0;
        m_wide = 0;
    }
    uint32_t unitBytes() const { return m_wide ? 2u : 1u; }
    bool overlaps(const void* p) const;
    bool equals(const CString& other) const;
    void ensureBytes(uint32_t needBytes);
    void setLength(uint32_t len);
    bool parseInteger(bool is64, int64_t& out) const;
    void adoptHeap(CString& other);

    char* m_text;
    uint32_t m_capacity;  // bytes, terminator included
    uint32_t m_length;    // characters
    alignas(2) char m_inline[kInlineBytes];
    uint8_t m_wide;
};

}  // namespace orl
