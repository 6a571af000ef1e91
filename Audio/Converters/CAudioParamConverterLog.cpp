#include "Audio/Converters/CAudioParamConverterLog.h"

#include <cfloat>
#include <cmath>

#include "Audio/CAudioParamInfo.h"
#include "Core/CError.h"

namespace orl {

CError* CAudioParamConverterLog::init() {
    if (CError* err = CAudioParamConverter::init()) return ORL_PASS(err, fullName());
    CString bad;
    if (!readNumberSetting("scale-power", 1.0, m_power, bad) || !(m_power > 0.0)) {
        if (bad.isEmpty()) bad = getAttrString(CString("scale-power"));
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CAudioParamConverterLog_init_InvalidScalePower Invalid 'scale-power' attribute "
                         "value %1 specified.",
                         bad);
    }
    bad.clear();
    if (!readNumberSetting("scale-threshold", -1.0, m_threshold, bad) || m_threshold > 1.0) {
        if (bad.isEmpty()) bad = getAttrString(CString("scale-threshold"));
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CAudioParamConverterLog_init_InvalidScaleThreshold Invalid 'scale-threshold' "
                         "attribute value %1 specified.",
                         bad);
    }
    return nullptr;
}

bool CAudioParamConverterLog::powerIsOne() const {
    return std::fabs(m_power - 1.0) <= (std::fabs(m_power) + 1.0) * DBL_EPSILON;
}

// A threshold splits the scale only where both parts have room: at t = 1 the whole knob is the
// lower part.
double CAudioParamConverterLog::normToValue(const CAudioParamInfo& info, int32_t element, double norm) const {
    const double lo = info.minimum(element);
    const double hi = info.maximum(element);
    // A logarithm needs a positive range; anything else is mapped straight.
    if (!(lo > 0.0 && hi > 0.0)) return linearNormToValue(info, element, norm);
    const double n = clampNorm(norm);
    const double t = m_threshold;
    double x;
    double from = lo;
    double to = hi;
    if (t > 0.0 && t < 1.0 && n >= t) {
        x = (n - t) / (1.0 - t);
        from = 1.0;
    } else {
        if (t > 0.0) {
            x = n / t;
            to = 1.0;
        } else {
            x = n;
        }
        if (!powerIsOne()) x = std::pow(x, 1.0 / m_power);
    }
    return std::exp(std::log(from) + std::log(to / from) * x);
}

double CAudioParamConverterLog::valueToNorm(const CAudioParamInfo& info, int32_t element, double value) const {
    const double lo = info.minimum(element);
    const double hi = info.maximum(element);
    if (!(lo > 0.0 && hi > 0.0)) return linearValueToNorm(info, element, value);
    if (!(value > 0.0)) return 0.0;
    const double t = m_threshold;
    if (t > 0.0 && t < 1.0 && value >= 1.0) {
        const double lnHi = std::log(hi);
        if (lnHi == 0.0) return t;
        return clampNorm(std::log(value) / lnHi * (1.0 - t) + t);
    }
    const double to = t > 0.0 ? 1.0 : hi;
    const double span = std::log(to / lo);
    if (span == 0.0) return t > 0.0 ? t : 0.0;
    double x = clampNorm(std::log(value / lo) / span);
    if (!powerIsOne()) x = std::pow(x, m_power);
    return clampNorm(t > 0.0 ? x * t : x);
}

}  // namespace orl
