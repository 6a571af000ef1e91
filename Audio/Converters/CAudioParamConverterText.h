#pragma once
#include "Audio/Converters/CAudioParamConverter.h"

namespace orl {

// The converter of string parameters (`audio:cvt-text`). The stored number is the id of an
// item in the parameter's data table, and the text is that item's string.
class CAudioParamConverterText : public CAudioParamConverter {
public:
    // Reads the string of item `id` of a data table; false when there is no such string item.
    using TDataTextReader = bool (*)(const CAudioParamData* table, int32_t id, CString& out);
    // Installed by the data table's code; until then, and for a missing item, the text is empty.
    static void setDataTextReader(TDataTextReader reader);

    // Always understood: a number is taken as an id, any other text leaves the number at the
    // element's minimum (parseValue) or 0 (parseRaw), since the text itself travels in the
    // data table and not through the number.
    double parseValue(const CAudioParamInfo& info, int32_t element, const CString& text, bool& ok) const override;
    double parseRaw(const CAudioParamInfo& info, int32_t element, const CString& text, bool& ok) const override;
    void format(CString& out, const CAudioParamInfo& info, int32_t element, double value,
                const CAudioParamData* dataTable, int32_t mode) const override;
};

}  // namespace orl
