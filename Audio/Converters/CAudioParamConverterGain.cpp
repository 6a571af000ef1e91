#include "Audio/Converters/CAudioParamConverterGain.h"

#include <cmath>

#include "Audio/CAudioParamInfo.h"
#include "Core/CError.h"

namespace orl {

CError* CAudioParamConverterGain::init() {
    if (CError* err = CAudioParamConverterLog::init()) return ORL_PASS(err, fullName());
    CString bad;
    if (!readIntSetting("decimals", 1, m_decimals, bad) || m_decimals < 0 || m_decimals > 10) {
        if (bad.isEmpty()) bad = getAttrString(CString("decimals"));
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CAudioParamConverterGain_init_InvalidDecimals Invalid 'decimals' attribute value %1 "
                         "specified.",
                         bad);
    }
    return nullptr;
}

double CAudioParamConverterGain::parseRaw(const CAudioParamInfo& info, int32_t /*element*/, const CString& text,
                                          bool& ok) const {
    double v = 0.0;
    // A switch name stands for its plain value, which is a gain already.
    if (matchSwitchName(info, text, v)) {
        ok = true;
        return v;
    }
    ok = parseNumber(text, v);
    return ok ? std::exp(v / kDbPerNeper) : 1.0;
}

void CAudioParamConverterGain::format(CString& out, const CAudioParamInfo& /*info*/, int32_t /*element*/,
                                      double value, const CAudioParamData* /*dataTable*/, int32_t mode) const {
    out.clear();
    if (!(value > 0.0)) {
        // Silence has no finite level.
        out.append("-inf");
        return;
    }
    const double db = std::log(value) * kDbPerNeper;
    int32_t decimals = m_decimals;
    if (mode == kFormatPrecise) {
        decimals = 2;
    } else if (mode == kFormatCompact) {
        const double a = roundHalfAway(std::fabs(db) * 10.0);
        const double b = roundHalfAway(std::fabs(db) * 100.0);
        decimals = a < 100.0 && b > 0.0 ? 1 : 0;
    }
    appendFixed(out, db, decimals);
}

double CAudioParamConverterGain::normToDisplay(const CAudioParamInfo& info, int32_t element, double norm) const {
    return kDbPerNeper * std::log(normToValue(info, element, norm));
}

double CAudioParamConverterGain::displayToNorm(const CAudioParamInfo& info, int32_t element, double display) const {
    return valueToNorm(info, element, clampToRange(info, element, std::exp(display / kDbPerNeper)));
}

}  // namespace orl
