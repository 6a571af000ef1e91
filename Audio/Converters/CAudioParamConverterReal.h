#pragma once
#include "Audio/Converters/CAudioParamConverter.h"

namespace orl {

// A plain number, linear on the knob (`audio:cvt-real`), printed with `decimals` (0 to 10,
// default 2) digits after the point.
class CAudioParamConverterReal : public CAudioParamConverter {
public:
    CError* init() override;

    double parseRaw(const CAudioParamInfo& info, int32_t element, const CString& text, bool& ok) const override;
    void format(CString& out, const CAudioParamInfo& info, int32_t element, double value,
                const CAudioParamData* dataTable, int32_t mode) const override;

    int32_t decimals() const { return m_decimals; }

private:
    int32_t m_decimals = 2;
};

}  // namespace orl
