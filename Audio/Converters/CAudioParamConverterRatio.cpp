#include "Audio/Converters/CAudioParamConverterRatio.h"

#include <cmath>

#include "Audio/CAudioParamInfo.h"
#include "Core/CError.h"

namespace orl {

CError* CAudioParamConverterRatio::init() {
    if (CError* err = CAudioParamConverter::init()) return ORL_PASS(err, fullName());
    CString bad;
    if (!readIntSetting("decimals", 2, m_decimals, bad) || m_decimals < 1 || m_decimals > 10) {
        if (bad.isEmpty()) bad = getAttrString(CString("decimals"));
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CAudioParamConverterRatio_init_InvalidDecimals Invalid decimals %1 specified.", bad);
    }
    return nullptr;
}

double CAudioParamConverterRatio::parseRaw(const CAudioParamInfo& info, int32_t /*element*/, const CString& text,
                                           bool& ok) const {
    double v = 0.0;
    if (matchSwitchName(info, text, v)) {
        ok = true;
        return v;
    }
    ok = false;
    const int32_t colon = text.find(u':');
    double a = 0.0;
    double b = 1.0;
    if (colon < 0) {
        if (!parseNumber(text, a)) return kNeutralSlope;
    } else {
        // "a:b"; a second colon is a failure of the second part.
        if (!parseNumber(text.substring(0, colon), a) || !parseNumber(text.substring(colon + 1), b)) {
            return kNeutralSlope;
        }
    }
    if (a == 0.0) return kNeutralSlope;
    const double slope = b / a;
    if (!std::isfinite(slope)) return kNeutralSlope;
    ok = true;
    return slope;
}

void CAudioParamConverterRatio::format(CString& out, const CAudioParamInfo& /*info*/, int32_t /*element*/,
                                       double value, const CAudioParamData* /*dataTable*/, int32_t mode) const {
    out.clear();
    if (!(value > 0.0)) {
        // A slope of zero is a limiter: an endless ratio.
        out.append("inf:1");
        return;
    }
    const int32_t d = mode == kFormatCompact ? 1 : (mode == kFormatPrecise ? 2 : m_decimals);
    const double r = roundHalfAway(1000.0 / value);
    if (r <= 1000.0) {
        out.append("1:");
        appendFixed(out, value, roundHalfAway(10.0 * value) < 100.0 ? d : d - 1);
    } else {
        appendFixed(out, 1.0 / value, r < 10000.0 ? d : d - 1);
        out.append(":1");
    }
}

double CAudioParamConverterRatio::normToValue(const CAudioParamInfo& info, int32_t element, double norm) const {
    const double lo = std::atan(info.minimum(element));
    const double hi = std::atan(info.maximum(element));
    return std::tan(lo + (hi - lo) * clampNorm(norm));
}

double CAudioParamConverterRatio::valueToNorm(const CAudioParamInfo& info, int32_t element, double value) const {
    const double lo = std::atan(info.minimum(element));
    const double span = std::atan(info.maximum(element)) - lo;
    if (span == 0.0) return 0.0;
    return clampNorm((std::atan(value) - lo) / span);
}

double CAudioParamConverterRatio::normToDisplay(const CAudioParamInfo& info, int32_t element, double norm) const {
    return 1.0 / normToValue(info, element, norm);
}

double CAudioParamConverterRatio::displayToNorm(const CAudioParamInfo& info, int32_t element, double display) const {
    return valueToNorm(info, element, clampToRange(info, element, 1.0 / display));
}

}  // namespace orl
