#include "Audio/Converters/CAudioParamConverter.h"

#include <charconv>
#include <cmath>
#include <system_error>

#include "Audio/CAudioParamInfo.h"
#include "Audio/Converters/CConverterRegistration.h"
#include "Core/CError.h"

namespace orl {

namespace {

// Exact powers of ten for the decimals a converter may print.
constexpr double kPow10[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10};
constexpr int32_t kMaxDecimals = 10;
// Longest text taken as a number; parameter text is typed or stored by us, never this long.
constexpr int32_t kMaxNumberLength = 120;

inline bool isDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

}  // namespace

CAudioParamConverter::CAudioParamConverter() {
    // The reference keeps the creator table in a static link of the library.
    (void)CConverterRegistration::ensureCreatorsRegistered();
}

CError* CAudioParamConverter::init() {
    if (CError* err = CObject::init()) return ORL_PASS(err, fullName());
    m_label = getAttrString(CString("label"));
    m_isDiscrete = getAttrBool(CString("is-discrete"));
    return nullptr;
}

// ---- defaults of the virtual operations ----

double CAudioParamConverter::parseValue(const CAudioParamInfo& info, int32_t element, const CString& text,
                                        bool& ok) const {
    const double v = parseRaw(info, element, text, ok);
    if (!ok) return info.minimum(element);
    return clampToRange(info, element, v);
}

double CAudioParamConverter::normToValue(const CAudioParamInfo& info, int32_t element, double norm) const {
    return linearNormToValue(info, element, norm);
}

double CAudioParamConverter::valueToNorm(const CAudioParamInfo& info, int32_t element, double value) const {
    return linearValueToNorm(info, element, value);
}

double CAudioParamConverter::normToDisplay(const CAudioParamInfo& info, int32_t element, double norm) const {
    return normToValue(info, element, norm);
}

double CAudioParamConverter::displayToNorm(const CAudioParamInfo& info, int32_t element, double display) const {
    return valueToNorm(info, element, clampToRange(info, element, display));
}

// ---- numbers ----

bool CAudioParamConverter::parseNumber(const CString& text, double& out) {
    const int32_t n = text.length();
    if (n == 0 || n > kMaxNumberLength) return false;
    // The text is copied in the form the standard parser takes: no "+", "." as the point.
    char buf[kMaxNumberLength + 1];
    int32_t w = 0;
    int32_t i = 0;
    if (text.at(0) == u'+' || text.at(0) == u'-') {
        if (text.at(0) == u'-') buf[w++] = '-';
        ++i;
    }
    int32_t mantissaDigits = 0;
    while (i < n && isDigit(text.at(i))) {
        buf[w++] = static_cast<char>(text.at(i++));
        ++mantissaDigits;
    }
    if (i < n && (text.at(i) == u'.' || text.at(i) == u',')) {
        buf[w++] = '.';
        ++i;
        while (i < n && isDigit(text.at(i))) {
            buf[w++] = static_cast<char>(text.at(i++));
            ++mantissaDigits;
        }
    }
    if (mantissaDigits == 0) return false;
    if (i < n && (text.at(i) == u'e' || text.at(i) == u'E')) {
        buf[w++] = 'e';
        ++i;
        if (i < n && (text.at(i) == u'+' || text.at(i) == u'-')) buf[w++] = static_cast<char>(text.at(i++));
        int32_t exponentDigits = 0;
        while (i < n && isDigit(text.at(i))) {
            buf[w++] = static_cast<char>(text.at(i++));
            ++exponentDigits;
        }
        if (exponentDigits == 0) return false;
    }
    if (i != n) return false;
    double v = 0.0;
    const auto [end, ec] = std::from_chars(buf, buf + w, v, std::chars_format::general);
    if (ec != std::errc() || end != buf + w || !std::isfinite(v)) return false;
    out = v;
    return true;
}

double CAudioParamConverter::roundHalfAway(double x) { return x >= 0.0 ? std::floor(x + 0.5) : -std::floor(0.5 - x); }

void CAudioParamConverter::appendFixed(CString& out, double x, int32_t decimals) {
    const int32_t d = decimals < 0 ? 0 : (decimals > kMaxDecimals ? kMaxDecimals : decimals);
    if (!std::isfinite(x)) {
        out.append(std::isnan(x) ? "nan" : (x < 0.0 ? "-inf" : "inf"));
        return;
    }
    const double scaled = roundHalfAway(x * kPow10[d]);
    if (std::fabs(scaled) >= 9.0e18) {
        // Beyond a 64-bit integer; no parameter range comes near this.
        out.append(CString::format("%.*f", static_cast<int>(d), x));
        return;
    }
    const auto r = static_cast<int64_t>(scaled);
    uint64_t u = r < 0 ? 0 - static_cast<uint64_t>(r) : static_cast<uint64_t>(r);
    char digits[24];
    int32_t len = 0;
    do {
        digits[len++] = static_cast<char>('0' + u % 10);
        u /= 10;
    } while (u != 0);
    while (len < d + 1) digits[len++] = '0';
    if (r < 0) out.append(u'-');
    for (int32_t k = len - 1; k >= 0; --k) {
        out.append(static_cast<char16_t>(digits[k]));
        if (k == d && d > 0) out.append(u'.');
    }
}

double CAudioParamConverter::clampToRange(const CAudioParamInfo& info, int32_t element, double v) {
    const double a = info.minimum(element);
    const double b = info.maximum(element);
    const double lo = a < b ? a : b;
    const double hi = a < b ? b : a;
    if (!(v >= lo)) return lo;  // NaN too
    return v > hi ? hi : v;
}

double CAudioParamConverter::clampNorm(double norm) {
    if (!(norm >= 0.0)) return 0.0;
    return norm > 1.0 ? 1.0 : norm;
}

double CAudioParamConverter::linearNormToValue(const CAudioParamInfo& info, int32_t element, double norm) {
    const double lo = info.minimum(element);
    return lo + (info.maximum(element) - lo) * clampNorm(norm);
}

double CAudioParamConverter::linearValueToNorm(const CAudioParamInfo& info, int32_t element, double value) {
    const double lo = info.minimum(element);
    const double span = info.maximum(element) - lo;
    if (span == 0.0) return 0.0;
    return clampNorm((value - lo) / span);
}

// ---- switches and settings ----

bool CAudioParamConverter::matchSwitchName(const CAudioParamInfo& info, const CString& text, double& value) {
    if (info.switchNames.isEmpty() || info.switchValues.isEmpty()) return false;
    if (text != info.switchNames[0]) return false;
    value = info.switchValues[0];
    return true;
}

const CString* CAudioParamConverter::switchNameOf(const CAudioParamInfo& info, double value) {
    if (info.switchNames.isEmpty() || info.switchValues.isEmpty()) return nullptr;
    const double s = info.switchValues[0];
    const double diff = std::fabs(value - s);
    if (diff <= 0.005 || diff <= 0.005 * std::fabs(s)) return &info.switchNames[0];
    return nullptr;
}

bool CAudioParamConverter::parsePlainNumber(const CAudioParamInfo& info, const CString& text, double& out) {
    if (matchSwitchName(info, text, out)) return true;
    return parseNumber(text, out);
}

bool CAudioParamConverter::readNumberSetting(const char* name, double fallback, double& out, CString& bad) const {
    const CAttrValue* attr = findAttr(CString(name));
    if (!attr || attr->type() == CAttrValue::kEmpty) {
        out = fallback;
        return true;
    }
    const CString& text = attr->getString();
    if (parseNumber(text, out)) return true;
    bad = text;
    return false;
}

bool CAudioParamConverter::readIntSetting(const char* name, int32_t fallback, int32_t& out, CString& bad) const {
    double v = 0.0;
    if (!readNumberSetting(name, fallback, v, bad)) return false;
    if (v != std::floor(v) || v < -2147483648.0 || v > 2147483647.0) {
        bad = getAttrString(CString(name));
        return false;
    }
    out = static_cast<int32_t>(v);
    return true;
}

}  // namespace orl
