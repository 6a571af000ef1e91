#include "Core/CAttrValue.h"

#include <cinttypes>
#include <cmath>
#include <cstdio>

namespace orl {

namespace {

constexpr uint8_t kKeptFlags = CAttrValue::kQueued | CAttrValue::kHandlerResolved;

bool roundToInt(double v, int32_t& out) {
    if (!(v == v)) return false;  // NaN
    double r = std::round(v);     // half away from zero
    if (r < -2147483648.0 || r > 2147483647.0) return false;
    out = static_cast<int32_t>(r);
    return true;
}

}  // namespace

CString doubleToAttrText(double v) {
    double scaled = v * 10000.0;
    if (!std::isfinite(scaled) || std::fabs(scaled) >= 9.0e18) return CString::format("%.4f", v);
    long long n = std::llround(scaled);
    unsigned long long a = n < 0 ? 0ull - static_cast<unsigned long long>(n) : static_cast<unsigned long long>(n);
    return CString::format("%s%llu.%04llu", n < 0 ? "-" : "", a / 10000, a % 10000);
}

void CAttrValue::store(Type type, uint8_t formFlag) {
    m_type = type;
    m_flags = static_cast<uint8_t>((m_flags & kKeptFlags) | formFlag);
}

void CAttrValue::setBool(bool v) {
    m_bool = v;
    store(kBool, kBoolValid);
}

void CAttrValue::setDouble(double v) {
    m_double = v;
    store(kDouble, kDoubleValid);
}

void CAttrValue::setInt(int32_t v) {
    m_int = v;
    store(kInt, kIntValid);
}

void CAttrValue::setPointer(void* v) {
    m_pointer = v;
    store(kPointer, kPointerValid);
}

void CAttrValue::setString(const CString& v) {
    m_string = v;
    store(kString, kStringValid);
}

void CAttrValue::clear() {
    m_string.clear();
    store(kEmpty, 0);
}

void CAttrValue::setText(const CString& text) {
    if (text.isEmpty()) {
        clear();
        return;
    }
    int32_t i;
    if (text.toInt(i) && CString::fromInt(i) == text) {
        setInt(i);
    } else if (text == "true") {
        setBool(true);
    } else if (text == "false") {
        setBool(false);
    } else {
        setString(text);
    }
}

bool CAttrValue::getBool() const {
    if (m_flags & kBoolValid) return m_bool;
    bool ok = true;
    bool v = false;
    switch (m_type) {
        case kInt: v = m_int != 0; break;
        case kString:
            if (m_string == "0" || m_string == "false") v = false;
            else if (m_string == "1" || m_string == "true") v = true;
            else ok = false;
            break;
        case kEmpty: v = false; break;
        default: ok = false; break;  // double and pointer have no truth value
    }
    if (!ok) return false;
    m_bool = v;
    m_flags |= kBoolValid;
    return v;
}

double CAttrValue::getDouble() const {
    if (m_flags & kDoubleValid) return m_double;
    bool ok = true;
    double v = 0.0;
    switch (m_type) {
        case kInt: v = m_int; break;
        case kString: {
            ok = m_string.toDouble(v);
            int64_t n;
            // Hexadecimal integers ("0x10", "#FF") are numbers too.
            if (!ok && m_string.toInt64(n)) {
                v = static_cast<double>(n);
                ok = true;
            }
            break;
        }
        case kEmpty: v = 0.0; break;
        default: ok = false; break;
    }
    if (!ok) return 0.0;
    m_double = v;
    m_flags |= kDoubleValid;
    return v;
}

int32_t CAttrValue::getInt() const {
    if (m_flags & kIntValid) return m_int;
    bool ok = true;
    int32_t v = 0;
    switch (m_type) {
        case kBool: v = m_bool ? 1 : 0; break;
        case kDouble: ok = roundToInt(m_double, v); break;
        case kString: ok = m_string.toInt(v); break;
        case kEmpty: v = 0; break;
        default: ok = false; break;
    }
    if (!ok) return 0;
    m_int = v;
    m_flags |= kIntValid;
    return v;
}

const CString& CAttrValue::getString() const {
    if (m_flags & kStringValid) return m_string;
    switch (m_type) {
        case kBool: m_string = m_bool ? "true" : "false"; break;
        case kDouble: m_string = doubleToAttrText(m_double); break;
        case kInt: m_string = CString::fromInt(m_int); break;
        case kEmpty: m_string.clear(); break;
        default: return CString::empty();  // a pointer has no text
    }
    m_flags |= kStringValid;
    return m_string;
}

void* CAttrValue::getPointer() const { return (m_flags & kPointerValid) ? m_pointer : nullptr; }

void CAttrValue::copyValueFrom(const CAttrValue& other) {
    m_double = other.m_double;
    m_pointer = other.m_pointer;
    m_int = other.m_int;
    m_string = other.m_string;
    m_bool = other.m_bool;
    m_type = other.m_type;
    // Only the value's forms travel; queue state and handler stay with the owner.
    m_flags = static_cast<uint8_t>((m_flags & kKeptFlags) | (other.m_flags & ~kKeptFlags));
}

}  // namespace orl
