#pragma once
#include "Audio/CAudioParamDataItem.h"
#include "Core/CString.h"

namespace orl {

// A text value. Stored as a string of the stream family, except that an empty text is written
// as one blank, and one blank reads back as the empty text.
class CAudioParamDataItemString : public CAudioParamDataItem {
public:
    CAudioParamDataItemString() = default;
    explicit CAudioParamDataItemString(const CString& text) : m_text(text) {}

    CAudioParamDataItem* clone() const override;
    CError* save(COutputStream& out) const override;
    CError* load(CInputStream& in) override;
    int32_t getType() const override { return kString; }

    const CString& text() const { return m_text; }
    void setText(const CString& text) { m_text = text; }

private:
    CString m_text;
};

}  // namespace orl
