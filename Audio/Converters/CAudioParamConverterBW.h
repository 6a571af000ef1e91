#pragma once
#include "Audio/Converters/CAudioParamConverter.h"

namespace orl {

// Bandwidth in octaves (`audio:cvt-bw`) on a quadratic knob, so that the narrow widths get
// most of the travel.
class CAudioParamConverterBW : public CAudioParamConverter {
public:
    // What an unreadable range or default stands for.
    static constexpr double kNeutralOctaves = 0.001;

    double parseRaw(const CAudioParamInfo& info, int32_t element, const CString& text, bool& ok) const override;
    void format(CString& out, const CAudioParamInfo& info, int32_t element, double value,
                const CAudioParamData* dataTable, int32_t mode) const override;
    double normToValue(const CAudioParamInfo& info, int32_t element, double norm) const override;
    double valueToNorm(const CAudioParamInfo& info, int32_t element, double value) const override;
};

}  // namespace orl
