#pragma once
#include "Audio/Converters/CAudioParamConverter.h"

namespace orl {

// A time stored in seconds, read and written in units of `scale` seconds (`audio:cvt-time`;
// 0.001 for milliseconds, default 1). `is-log` gives a logarithmic knob; otherwise the knob is
// linear with `is-exact` and quadratic without it, which favours short times. `is-exact` also
// prints a fixed number of decimals instead of digits by size, and `is-precise` adds one more.
class CAudioParamConverterTime : public CAudioParamConverter {
public:
    CError* init() override;

    double parseRaw(const CAudioParamInfo& info, int32_t element, const CString& text, bool& ok) const override;
    void format(CString& out, const CAudioParamInfo& info, int32_t element, double value,
                const CAudioParamData* dataTable, int32_t mode) const override;
    double normToValue(const CAudioParamInfo& info, int32_t element, double norm) const override;
    double valueToNorm(const CAudioParamInfo& info, int32_t element, double value) const override;
    // In units of `scale`.
    double normToDisplay(const CAudioParamInfo& info, int32_t element, double norm) const override;
    double displayToNorm(const CAudioParamInfo& info, int32_t element, double display) const override;

    double scale() const { return m_scale; }

private:
    double m_scale = 1.0;
    bool m_isLog = false;
    bool m_isExact = false;
    bool m_isPrecise = false;
};

}  // namespace orl
