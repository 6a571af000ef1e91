#pragma once
#include "Audio/Converters/CAudioParamConverterLog.h"

namespace orl {

// Linear gain stored, decibels read and written (`audio:cvt-gain`). `decimals` (0 to 10,
// default 1) sets the digits after the point in the normal and short forms.
class CAudioParamConverterGain : public CAudioParamConverterLog {
public:
    // 20 / ln 10: decibels per natural-log unit of a gain.
    static constexpr double kDbPerNeper = 8.685889638065037;

    CError* init() override;

    double parseRaw(const CAudioParamInfo& info, int32_t element, const CString& text, bool& ok) const override;
    void format(CString& out, const CAudioParamInfo& info, int32_t element, double value,
                const CAudioParamData* dataTable, int32_t mode) const override;
    // Decibels.
    double normToDisplay(const CAudioParamInfo& info, int32_t element, double norm) const override;
    double displayToNorm(const CAudioParamInfo& info, int32_t element, double display) const override;

    int32_t decimals() const { return m_decimals; }

private:
    int32_t m_decimals = 1;
};

}  // namespace orl
