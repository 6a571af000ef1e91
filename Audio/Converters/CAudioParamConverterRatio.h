#pragma once
#include "Audio/Converters/CAudioParamConverter.h"

namespace orl {

// A compression ratio (`audio:cvt-ratio`). The plain value is the slope 1 / ratio: "6:1" is
// 1/6, "1:1" is 1 and "1:2" is 2, so a range from "1:1" to "6:1" runs downwards. The knob
// follows the arctangent of the slope, which spreads the usual ratios evenly. `decimals`
// (1 to 10, default 2) sets the digits after the point.
class CAudioParamConverterRatio : public CAudioParamConverter {
public:
    // What an unreadable range or default stands for: 2:1.
    static constexpr double kNeutralSlope = 0.5;

    CError* init() override;

    double parseRaw(const CAudioParamInfo& info, int32_t element, const CString& text, bool& ok) const override;
    void format(CString& out, const CAudioParamInfo& info, int32_t element, double value,
                const CAudioParamData* dataTable, int32_t mode) const override;
    double normToValue(const CAudioParamInfo& info, int32_t element, double norm) const override;
    double valueToNorm(const CAudioParamInfo& info, int32_t element, double value) const override;
    // The ratio x of "x:1", that is 1 / slope.
    double normToDisplay(const CAudioParamInfo& info, int32_t element, double norm) const override;
    double displayToNorm(const CAudioParamInfo& info, int32_t element, double display) const override;

    int32_t decimals() const { return m_decimals; }

private:
    int32_t m_decimals = 2;
};

}  // namespace orl
