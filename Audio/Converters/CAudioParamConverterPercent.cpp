#include "Audio/Converters/CAudioParamConverterPercent.h"

#include "Audio/CAudioParamInfo.h"

namespace orl {

double CAudioParamConverterPercent::parseRaw(const CAudioParamInfo& info, int32_t /*element*/, const CString& text,
                                             bool& ok) const {
    double v = 0.0;
    if (matchSwitchName(info, text, v)) {
        ok = true;
        return v;
    }
    ok = parseNumber(text, v);
    return ok ? v * 0.01 : 0.0;
}

void CAudioParamConverterPercent::format(CString& out, const CAudioParamInfo& info, int32_t /*element*/,
                                         double value, const CAudioParamData* /*dataTable*/, int32_t mode) const {
    out.clear();
    if (const CString* name = switchNameOf(info, value)) {
        out.assign(*name);
        return;
    }
    const int32_t decimals = mode == kFormatCompact ? 0 : (mode == kFormatPrecise ? 2 : 1);
    appendFixed(out, value * 100.0, decimals);
}

double CAudioParamConverterPercent::normToDisplay(const CAudioParamInfo& info, int32_t element, double norm) const {
    return normToValue(info, element, norm) * 100.0;
}

double CAudioParamConverterPercent::displayToNorm(const CAudioParamInfo& info, int32_t element,
                                                  double display) const {
    return valueToNorm(info, element, clampToRange(info, element, display * 0.01));
}

}  // namespace orl
