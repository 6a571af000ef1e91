#include "Audio/Converters/CAudioParamConverterFreq.h"

#include "Audio/CAudioParamInfo.h"

namespace orl {

namespace {

// Each readout keeps to its width: the digits of a rounded value are counted before the form
// is chosen, so that 999.96 Hz prints "1000" rather than "1000.0".
// Compact: one decimal below 100 Hz, whole hertz below 10 kHz, one decimal of kilohertz below
// 100 kHz, whole kilohertz above.
constexpr double kCompactDecimalBelow = 100.0;
constexpr double kCompactHertzBelow = 10000.0;
constexpr double kCompactKiloDecimalBelow = 100000.0;
// Normal and short: one decimal below 1 kHz, whole hertz below 10 kHz, two decimals of
// kilohertz below 100 kHz, one decimal of kilohertz above.
constexpr double kDigitsBelow = 10000.0;

}  // namespace

double CAudioParamConverterFreq::parseRaw(const CAudioParamInfo& info, int32_t /*element*/, const CString& text,
                                          bool& ok) const {
    double v = 0.0;
    if (matchSwitchName(info, text, v)) {
        ok = true;
        return v;
    }
    const int32_t n = text.length();
    if (n > 1 && (text.at(n - 1) == u'k' || text.at(n - 1) == u'K')) {
        ok = parseNumber(text.substring(0, n - 1), v);
        v *= 1000.0;
    } else {
        ok = parseNumber(text, v);
    }
    return ok ? v : kNeutralHz;
}

void CAudioParamConverterFreq::format(CString& out, const CAudioParamInfo& /*info*/, int32_t /*element*/,
                                      double value, const CAudioParamData* /*dataTable*/, int32_t mode) const {
    out.clear();
    if (mode == kFormatPrecise) {
        appendFixed(out, value, 2);
        return;
    }
    if (mode == kFormatCompact) {
        const double a = roundHalfAway(value);
        if (a < kCompactDecimalBelow) {
            appendFixed(out, value, 1);
        } else if (a < kCompactHertzBelow) {
            appendFixed(out, value, 0);
        } else {
            appendFixed(out, value / 1000.0, a < kCompactKiloDecimalBelow ? 1 : 0);
            out.append(u'k');
        }
        return;
    }
    if (roundHalfAway(10.0 * value) < kDigitsBelow) {
        appendFixed(out, value, 1);
    } else if (roundHalfAway(value) < kDigitsBelow) {
        appendFixed(out, value, 0);
    } else {
        appendFixed(out, value / 1000.0, roundHalfAway(0.1 * value) < kDigitsBelow ? 2 : 1);
        out.append(u'k');
    }
}

}  // namespace orl
