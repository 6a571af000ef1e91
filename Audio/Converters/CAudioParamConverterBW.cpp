#include "Audio/Converters/CAudioParamConverterBW.h"

#include <cmath>

#include "Audio/CAudioParamInfo.h"

namespace orl {

double CAudioParamConverterBW::parseRaw(const CAudioParamInfo& info, int32_t /*element*/, const CString& text,
                                        bool& ok) const {
    double v = 0.0;
    ok = parsePlainNumber(info, text, v);
    return ok ? v : kNeutralOctaves;
}

void CAudioParamConverterBW::format(CString& out, const CAudioParamInfo& /*info*/, int32_t /*element*/,
                                    double value, const CAudioParamData* /*dataTable*/, int32_t mode) const {
    out.clear();
    appendFixed(out, value, mode == kFormatPrecise ? 3 : 2);
}

double CAudioParamConverterBW::normToValue(const CAudioParamInfo& info, int32_t element, double norm) const {
    const double lo = info.minimum(element);
    const double n = clampNorm(norm);
    return lo + (info.maximum(element) - lo) * n * n;
}

double CAudioParamConverterBW::valueToNorm(const CAudioParamInfo& info, int32_t element, double value) const {
    const double lo = info.minimum(element);
    const double span = info.maximum(element) - lo;
    if (span == 0.0) return 0.0;
    return std::sqrt(clampNorm((value - lo) / span));
}

}  // namespace orl
