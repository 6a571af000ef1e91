#include "Core/CString.h"

#include <cassert>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <charconv>
#include <system_error>

#include "Core/CPoolAllocator.h"

namespace orl {

namespace {

// Wide text sits in raw byte storage (the inline buffer or a pool block); this type lets the
// code read and write it as 16-bit units without breaking type-based alias analysis.
typedef char16_t __attribute__((may_alias)) WideUnit;

inline WideUnit* wideOf(char* p) { return reinterpret_cast<WideUnit*>(p); }
inline const WideUnit* wideOf(const char* p) { return reinterpret_cast<const WideUnit*>(p); }

inline int32_t length8(const char* s) { return s ? static_cast<int32_t>(std::strlen(s)) : 0; }

inline int32_t length16(const char16_t* s) {
    int32_t n = 0;
    if (s)
        while (s[n]) ++n;
    return n;
}

inline int hexValue(char16_t c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Construction and storage

CString::CString(const char* text) {
    initEmpty();
    append(text, -1);
}

CString::CString(const char* text, int32_t len) {
    initEmpty();
    append(text, len);
}

CString::CString(const char16_t* text) {
    initEmpty();
    assign(text, -1);
}

CString::CString(const char16_t* text, int32_t len) {
    initEmpty();
    assign(text, len);
}

CString::CString(const CString& other) {
    initEmpty();
    assign(other);
}

CString::CString(CString&& other) noexcept {
    initEmpty();
    if (other.isInline())
        assign(other);
    else
        adoptHeap(other);
}

CString::~CString() {
    if (!isInline()) CPoolAllocator::release(m_text);
}

CString& CString::operator=(CString&& other) noexcept {
    if (this == &other) return *this;
    // Stealing is only allowed where it doesn't narrow this string.
    if (!other.isInline() && (other.isWide() || !isWide())) {
        if (!isInline()) CPoolAllocator::release(m_text);
        adoptHeap(other);
    } else {
        assign(other);
    }
    return *this;
}

const CString& CString::empty() {
    static const CString s;
    return s;
}

void CString::adoptHeap(CString& other) {
    m_text = other.m_text;
    m_capacity = other.m_capacity;
    m_length = other.m_length;
    m_wide = other.m_wide;
    other.initEmpty();
}

bool CString::overlaps(const void* p) const {
    const auto a = reinterpret_cast<uintptr_t>(p);
    const auto b = reinterpret_cast<uintptr_t>(m_text);
    return a >= b && a < b + m_capacity;
}

// Makes room for needBytes (terminator included), keeping the current text. Leaving the inline
// buffer takes exactly what is needed, since most strings never grow again; heap text that grows
// gets some slack for the appends that usually follow.
void CString::ensureBytes(uint32_t needBytes) {
    if (needBytes <= m_capacity) return;
    const uint32_t newCapacity = isInline() ? needBytes : needBytes + (m_wide ? 32u : 16u);
    char* fresh = static_cast<char*>(CPoolAllocator::allocate(newCapacity));
    std::memcpy(fresh, m_text, (m_length + 1) * unitBytes());
    if (!isInline()) CPoolAllocator::release(m_text);
    m_text = fresh;
    m_capacity = newCapacity;
}

void CString::setLength(uint32_t len) {
    m_length = len;
    if (m_wide)
        wideOf(m_text)[len] = 0;
    else
        m_text[len] = 0;
}

void CString::widen() {
    if (m_wide) return;
    const uint32_t needBytes = (m_length + 1) * 2;
    if (needBytes <= m_capacity) {
        // In place, from the end: unit i goes to bytes 2i and 2i+1, which have been read already.
        for (uint32_t i = m_length + 1; i-- > 0;) {
            const unsigned char c = static_cast<unsigned char>(m_text[i]);
            wideOf(m_text)[i] = c;
        }
    } else {
        const uint32_t newCapacity = isInline() ? needBytes : needBytes + 32u;
        char* fresh = static_cast<char*>(CPoolAllocator::allocate(newCapacity));
        for (uint32_t i = 0; i <= m_length; ++i) wideOf(fresh)[i] = static_cast<unsigned char>(m_text[i]);
        if (!isInline()) CPoolAllocator::release(m_text);
        m_text = fresh;
        m_capacity = newCapacity;
    }
    m_wide = 1;
}

void CString::clear() { setLength(0); }

// ---------------------------------------------------------------------------------------------
// Access

const char* CString::c8() const {
    assert(!m_wide);
    return m_text;
}

const char16_t* CString::c16() const {
    assert(m_wide);
    return reinterpret_cast<const char16_t*>(m_text);
}

char16_t CString::at(int32_t i) const {
    assert(i >= 0 && static_cast<uint32_t>(i) <= m_length);
    return m_wide ? wideOf(m_text)[i] : static_cast<unsigned char>(m_text[i]);
}

// ---------------------------------------------------------------------------------------------
// Assign and append

CString& CString::assign(const CString& other) {
    if (this == &other) return *this;
    if (other.m_wide) return assign(other.c16(), other.length());
    return assign(other.m_text, other.length());
}

CString& CString::assign(const char* text, int32_t len) {
    if (len < 0) len = length8(text);
    if (len > 0 && overlaps(text)) {
        const CString copy(text, len);
        return assign(copy);
    }
    setLength(0);
    return append(text, len);
}

CString& CString::assign(const char16_t* text, int32_t len) {
    if (len < 0) len = length16(text);
    if (len > 0 && overlaps(text)) {
        const CString copy(text, len);
        return assign(copy);
    }
    setLength(0);
    widen();
    return append(text, len);
}

CString& CString::append(const CString& other) {
    if (other.m_wide) return append(other.c16(), other.length());
    return append(other.m_text, other.length());
}

CString& CString::append(const char* text, int32_t len) {
    if (len < 0) len = length8(text);
    if (len == 0) return *this;
    if (overlaps(text)) {
        const CString copy(text, len);
        return append(copy);
    }
    const uint32_t newLength = m_length + static_cast<uint32_t>(len);
    ensureBytes((newLength + 1) * unitBytes());
    if (m_wide) {
        WideUnit* dst = wideOf(m_text) + m_length;
        for (int32_t i = 0; i < len; ++i) dst[i] = static_cast<unsigned char>(text[i]);
    } else {
        std::memcpy(m_text + m_length, text, static_cast<size_t>(len));
    }
    setLength(newLength);
    return *this;
}

CString& CString::append(const char16_t* text, int32_t len) {
    if (len < 0) len = length16(text);
    if (len == 0) return *this;
    if (overlaps(text)) {
        const CString copy(text, len);
        return append(copy);
    }
    if (!m_wide) {
        for (int32_t i = 0; i < len; ++i) {
            if (text[i] > 255) {
                widen();
                break;
            }
        }
    }
    const uint32_t newLength = m_length + static_cast<uint32_t>(len);
    ensureBytes((newLength + 1) * unitBytes());
    if (m_wide) {
        std::memcpy(m_text + m_length * 2, text, static_cast<size_t>(len) * 2);
    } else {
        char* dst = m_text + m_length;
        for (int32_t i = 0; i < len; ++i) dst[i] = static_cast<char>(static_cast<unsigned char>(text[i]));
    }
    setLength(newLength);
    return *this;
}

CString& CString::append(char16_t ch) {
    if (!m_wide && ch > 255) widen();
    ensureBytes((m_length + 2) * unitBytes());
    if (m_wide)
        wideOf(m_text)[m_length] = ch;
    else
        m_text[m_length] = static_cast<char>(static_cast<unsigned char>(ch));
    setLength(m_length + 1);
    return *this;
}

CString operator+(const CString& a, const CString& b) {
    CString r;
    if (!a.isWide() && !b.isWide()) r.ensureBytes(static_cast<uint32_t>(a.length() + b.length()) + 1);
    r.assign(a);
    r.append(b);
    return r;
}

// ---------------------------------------------------------------------------------------------
// Comparison

bool CString::equals(const CString& other) const {
    if (m_length != other.m_length) return false;
    if (m_wide == other.m_wide) return std::memcmp(m_text, other.m_text, m_length * unitBytes()) == 0;
    for (uint32_t i = 0; i < m_length; ++i)
        if (at(static_cast<int32_t>(i)) != other.at(static_cast<int32_t>(i))) return false;
    return true;
}

int CString::compare(const CString& other) const {
    const uint32_t n = m_length < other.m_length ? m_length : other.m_length;
    if (!m_wide && !other.m_wide) {
        // memcmp orders as unsigned char, which is the code unit order of 8-bit text.
        const int r = std::memcmp(m_text, other.m_text, n);
        if (r != 0) return r < 0 ? -1 : 1;
    } else {
        for (uint32_t i = 0; i < n; ++i) {
            const char16_t a = at(static_cast<int32_t>(i));
            const char16_t b = other.at(static_cast<int32_t>(i));
            if (a != b) return a < b ? -1 : 1;
        }
    }
    if (m_length == other.m_length) return 0;
    return m_length < other.m_length ? -1 : 1;
}

int CString::compare(const char* text) const {
    if (!text) text = "";
    for (uint32_t i = 0;; ++i) {
        const bool endA = i >= m_length;
        const bool endB = text[i] == 0;
        if (endA || endB) return endA && endB ? 0 : (endA ? -1 : 1);
        const char16_t a = at(static_cast<int32_t>(i));
        const char16_t b = static_cast<unsigned char>(text[i]);
        if (a != b) return a < b ? -1 : 1;
    }
}

bool CString::startsWith(const CString& prefix) const {
    if (prefix.m_length > m_length) return false;
    for (uint32_t i = 0; i < prefix.m_length; ++i)
        if (at(static_cast<int32_t>(i)) != prefix.at(static_cast<int32_t>(i))) return false;
    return true;
}

bool CString::startsWith(const char* prefix) const {
    if (!prefix) return true;
    for (uint32_t i = 0; prefix[i]; ++i) {
        if (i >= m_length) return false;
        if (at(static_cast<int32_t>(i)) != static_cast<unsigned char>(prefix[i])) return false;
    }
    return true;
}

// ---------------------------------------------------------------------------------------------
// Pieces and searching

CString CString::substring(int32_t start, int32_t len) const {
    CString r;
    if (m_wide) r.widen();
    if (start < 0) start = 0;
    if (start >= length()) return r;
    const int32_t available = length() - start;
    if (len < 0 || len > available) len = available;
    if (m_wide)
        r.append(c16() + start, len);
    else
        r.append(m_text + start, len);
    return r;
}

int32_t CString::find(char16_t ch, int32_t from) const {
    if (from < 0) from = 0;
    for (int32_t i = from; i < length(); ++i)
        if (at(i) == ch) return i;
    return -1;
}

int32_t CString::findLast(char16_t ch, int32_t from) const {
    if (from < 0 || from >= length()) from = length() - 1;
    for (int32_t i = from; i >= 0; --i)
        if (at(i) == ch) return i;
    return -1;
}

int32_t CString::findText(const CString& what, int32_t from) const {
    if (from < 0) from = 0;
    const int32_t n = what.length();
    if (n == 0) return from <= length() ? from : -1;
    const char16_t first = what.at(0);
    for (int32_t i = from; i + n <= length(); ++i) {
        if (at(i) != first) continue;
        int32_t k = 1;
        while (k < n && at(i + k) == what.at(k)) ++k;
        if (k == n) return i;
    }
    return -1;
}

void CString::split(char16_t separator, bool skipEmpty, bool clearFirst, CArray<CString>& out) const {
    // Splitting an element of out into out itself would pull the text from under our feet.
    if (this >= out.begin() && this < out.end()) {
        const CString copy(*this);
        copy.split(separator, skipEmpty, clearFirst, out);
        return;
    }
    if (clearFirst) out.clear();
    int32_t start = 0;
    for (int32_t i = 0; i <= length(); ++i) {
        if (i < length() && at(i) != separator) continue;
        if (!(skipEmpty && i == start)) out.add(substring(start, i - start));
        start = i + 1;
    }
}

CString CString::narrowed() const {
    if (!m_wide) return *this;
    CString r;
    r.ensureBytes(m_length + 1);
    const WideUnit* src = wideOf(m_text);
    for (uint32_t i = 0; i < m_length; ++i) r.m_text[i] = static_cast<char>(src[i] & 0xFF);
    r.setLength(m_length);
    return r;
}

// ---------------------------------------------------------------------------------------------
// Numbers

// Parses the integer syntax into a 64-bit value; with is64 false the result is range-checked
// for 32 bits (decimal) or limited to 32 bits (hexadecimal).
bool CString::parseInteger(bool is64, int64_t& out) const {
    const int32_t n = length();
    int32_t i = 0;
    const bool negative = n > 0 && at(0) == '-';
    if (negative) i = 1;
    bool hex = false;
    if (i < n && (at(i) == '#' || at(i) == '$')) {
        hex = true;
        i += 1;
    } else if (i + 1 < n && at(i) == '0' && (at(i + 1) == 'x' || at(i + 1) == 'X')) {
        hex = true;
        i += 2;
    }
    if (i >= n) return false;

    uint64_t acc = 0;
    if (hex) {
        const uint64_t allBits = is64 ? UINT64_MAX : UINT32_MAX;
        for (; i < n; ++i) {
            const int d = hexValue(at(i));
            if (d < 0 || acc > (allBits >> 4)) return false;
            acc = (acc << 4) | static_cast<uint64_t>(d);
        }
        // The bits are the value; "-" negates them as a two's complement number.
        if (negative) acc = (0 - acc) & allBits;
        out = is64 ? static_cast<int64_t>(acc) : static_cast<int64_t>(static_cast<int32_t>(static_cast<uint32_t>(acc)));
        return true;
    }
    const uint64_t positiveMax = is64 ? static_cast<uint64_t>(INT64_MAX) : static_cast<uint64_t>(INT32_MAX);
    const uint64_t limit = negative ? positiveMax + 1 : positiveMax;
    for (; i < n; ++i) {
        const char16_t c = at(i);
        if (c < '0' || c > '9') return false;
        const uint64_t d = c - '0';
        if (acc > (limit - d) / 10) return false;
        acc = acc * 10 + d;
    }
    out = negative ? static_cast<int64_t>(0 - acc) : static_cast<int64_t>(acc);
    return true;
}

bool CString::toInt(int32_t& out) const {
    int64_t v;
    if (!parseInteger(false, v)) return false;
    out = static_cast<int32_t>(v);
    return true;
}

bool CString::toInt64(int64_t& out) const {
    return parseInteger(true, out);
}

bool CString::toDouble(double& out) const {
    if (m_length == 0) return false;
    // from_chars would also take "inf" and "nan"; only plain decimal numbers are wanted.
    const uint32_t first = at(0) == '-' ? 1 : 0;
    if (first >= m_length) return false;
    const char16_t lead = at(static_cast<int32_t>(first));
    if (!((lead >= '0' && lead <= '9') || lead == '.')) return false;

    CString ascii;
    const char* text = m_text;
    if (m_wide) {
        for (uint32_t i = 0; i < m_length; ++i)
            if (wideOf(m_text)[i] > 127) return false;
        ascii = narrowed();
        text = ascii.c8();
    }
    double v = 0;
    const auto [end, ec] = std::from_chars(text, text + m_length, v, std::chars_format::general);
    if (ec != std::errc() || end != text + m_length) return false;
    out = v;
    return true;
}

CString CString::fromInt(int64_t v) {
    char buf[24];
    int pos = sizeof buf;
    uint64_t u = v < 0 ? 0 - static_cast<uint64_t>(v) : static_cast<uint64_t>(v);
    do {
        buf[--pos] = static_cast<char>('0' + u % 10);
        u /= 10;
    } while (u != 0);
    if (v < 0) buf[--pos] = '-';
    return CString(buf + pos, static_cast<int32_t>(sizeof buf) - pos);
}

CString CString::format(const char* fmt, ...) {
    CString r;
    va_list args;
    va_list again;
    va_start(args, fmt);
    va_copy(again, args);
    const int n = std::vsnprintf(r.m_inline, kInlineBytes, fmt, args);
    va_end(args);
    if (n < 0) {
        r.setLength(0);
    } else {
        if (static_cast<uint32_t>(n) >= kInlineBytes) {
            r.ensureBytes(static_cast<uint32_t>(n) + 1);
            std::vsnprintf(r.m_text, static_cast<size_t>(n) + 1, fmt, again);
        }
        r.m_length = static_cast<uint32_t>(n);
    }
    va_end(again);
    return r;
}

CString CString::trimmed() const {
    auto blank = [](char16_t c) { return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r'; };
    int32_t start = 0;
    int32_t end = length();
    while (start < end && blank(at(start))) ++start;
    while (end > start && blank(at(end - 1))) --end;
    return start == 0 && end == length() ? *this : substring(start, end - start);
}

}  // namespace orl
