#pragma once
#include "Audio/Converters/CAudioParamConverter.h"

namespace orl {

// A fraction stored, percent read and written (`audio:cvt-percent`): plain 0.5 is "50.0".
class CAudioParamConverterPercent : public CAudioParamConverter {
public:
    double parseRaw(const CAudioParamInfo& info, int32_t element, const CString& text, bool& ok) const override;
    void format(CString& out, const CAudioParamInfo& info, int32_t element, double value,
                const CAudioParamData* dataTable, int32_t mode) const override;
    // Percent.
    double normToDisplay(const CAudioParamInfo& info, int32_t element, double norm) const override;
    double displayToNorm(const CAudioParamInfo& info, int32_t element, double display) const override;
};

}  // namespace orl
