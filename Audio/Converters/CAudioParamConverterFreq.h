#pragma once
#include "Audio/Converters/CAudioParamConverterLog.h"

namespace orl {

// Frequencies in hertz on the log scale (`audio:cvt-freq`). Text may end in "k" or "K" for
// kilohertz, and large values print in kilohertz with a "k".
class CAudioParamConverterFreq : public CAudioParamConverterLog {
public:
    // What an unreadable range or default stands for.
    static constexpr double kNeutralHz = 1000.0;

    double parseRaw(const CAudioParamInfo& info, int32_t element, const CString& text, bool& ok) const override;
    void format(CString& out, const CAudioParamInfo& info, int32_t element, double value,
                const CAudioParamData* dataTable, int32_t mode) const override;
};

}  // namespace orl
