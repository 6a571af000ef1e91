#include "Audio/Converters/CAudioParamConverterReal.h"

#include <cmath>

#include "Audio/CAudioParamInfo.h"
#include "Core/CError.h"

namespace orl {

CError* CAudioParamConverterReal::init() {
    if (CError* err = CAudioParamConverter::init()) return ORL_PASS(err, fullName());
    CString bad;
    if (!readIntSetting("decimals", 2, m_decimals, bad) || m_decimals < 0 || m_decimals > 10) {
        if (bad.isEmpty()) bad = getAttrString(CString("decimals"));
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CAudioParamConverterReal_init_InvalidDecimals Invalid 'decimals' attribute value %1 "
                         "specified.",
                         bad);
    }
    return nullptr;
}

double CAudioParamConverterReal::parseRaw(const CAudioParamInfo& info, int32_t /*element*/, const CString& text,
                                          bool& ok) const {
    double v = 0.0;
    ok = parsePlainNumber(info, text, v);
    return ok ? v : 0.0;
}

void CAudioParamConverterReal::format(CString& out, const CAudioParamInfo& info, int32_t /*element*/, double value,
                                      const CAudioParamData* /*dataTable*/, int32_t mode) const {
    out.clear();
    if (const CString* name = switchNameOf(info, value)) {
        out.assign(*name);
        return;
    }
    int32_t decimals = m_decimals;
    if (mode == kFormatCompact) {
        decimals = roundHalfAway(std::fabs(value) * 10.0) < 100.0 ? 1 : 0;
    } else if (mode == kFormatPrecise && m_decimals > 0) {
        decimals = 2;
    }
    appendFixed(out, value, decimals);
}

}  // namespace orl
