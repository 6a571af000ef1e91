#include "Audio/Converters/CAudioParamConverterTime.h"

#include <cmath>

#include "Audio/CAudioParamInfo.h"
#include "Core/CError.h"

namespace orl {

CError* CAudioParamConverterTime::init() {
    if (CError* err = CAudioParamConverter::init()) return ORL_PASS(err, fullName());
    CString bad;
    if (!readNumberSetting("scale", 1.0, m_scale, bad) || !(m_scale > 0.0)) {
        if (bad.isEmpty()) bad = getAttrString(CString("scale"));
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CAudioParamConverterTime_init_InvalidScale Invalid scale %1 specified.", bad);
    }
    m_isLog = getAttrBool(CString("is-log"));
    m_isExact = getAttrBool(CString("is-exact"));
    m_isPrecise = getAttrBool(CString("is-precise"));
    return nullptr;
}

double CAudioParamConverterTime::parseRaw(const CAudioParamInfo& info, int32_t /*element*/, const CString& text,
                                          bool& ok) const {
    double v = 0.0;
    if (matchSwitchName(info, text, v)) {
        ok = true;
        return v;
    }
    ok = parseNumber(text, v);
    return ok ? v * m_scale : 0.0;
}

void CAudioParamConverterTime::format(CString& out, const CAudioParamInfo& /*info*/, int32_t /*element*/,
                                      double value, const CAudioParamData* /*dataTable*/, int32_t mode) const {
    out.clear();
    const double u = value / m_scale;
    const double i = roundHalfAway(u);
    const int32_t extra = m_isPrecise ? 1 : 0;
    if (mode == kFormatPrecise) {
        appendFixed(out, u, 2);
    } else if (mode == kFormatCompact) {
        if (roundHalfAway(10.0 * u) > 0.0 && i < 10.0) {
            appendFixed(out, u, 1);
        } else if (roundHalfAway(10.0 * u) > 0.0 && i >= 1000.0) {
            // Thousands of the unit, marked so that "2.5*" isn't read as 2.5 units.
            appendFixed(out, u / 1000.0, i < 10000.0 ? 1 : 0);
            out.append(u'*');
        } else {
            appendFixed(out, u, 0);
        }
    } else if (m_isExact) {
        appendFixed(out, u, extra);
    } else if (i < 10.0) {
        appendFixed(out, u, 2 + extra);
    } else if (i < 100.0) {
        appendFixed(out, u, 1 + extra);
    } else {
        appendFixed(out, u, extra);
    }
}

double CAudioParamConverterTime::normToValue(const CAudioParamInfo& info, int32_t element, double norm) const {
    const double lo = info.minimum(element);
    const double hi = info.maximum(element);
    const double n = clampNorm(norm);
    if (m_isLog && lo > 0.0 && hi > 0.0) return std::exp(std::log(lo) + std::log(hi / lo) * n);
    return lo + (hi - lo) * (m_isExact ? n : n * n);
}

double CAudioParamConverterTime::valueToNorm(const CAudioParamInfo& info, int32_t element, double value) const {
    const double lo = info.minimum(element);
    const double hi = info.maximum(element);
    if (m_isLog && lo > 0.0 && hi > 0.0) {
        const double span = std::log(hi / lo);
        if (span == 0.0 || !(value > 0.0)) return 0.0;
        return clampNorm(std::log(value / lo) / span);
    }
    if (hi == lo) return 0.0;
    const double x = clampNorm((value - lo) / (hi - lo));
    return m_isExact ? x : std::sqrt(x);
}

double CAudioParamConverterTime::normToDisplay(const CAudioParamInfo& info, int32_t element, double norm) const {
    return normToValue(info, element, norm) / m_scale;
}

double CAudioParamConverterTime::displayToNorm(const CAudioParamInfo& info, int32_t element, double display) const {
    return valueToNorm(info, element, clampToRange(info, element, display * m_scale));
}

}  // namespace orl
