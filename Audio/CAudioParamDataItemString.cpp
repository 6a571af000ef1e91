#include "Audio/CAudioParamDataItemString.h"

#include "Core/CError.h"
#include "Core/CInputStream.h"
#include "Core/COutputStream.h"

namespace orl {

CAudioParamDataItem* CAudioParamDataItemString::clone() const { return new CAudioParamDataItemString(*this); }

CError* CAudioParamDataItemString::save(COutputStream& out) const {
    CError* err = out.writeString(m_text.isEmpty() ? CString(" ") : m_text);
    return err ? ORL_PASS(err, CString::empty()) : nullptr;
}

CError* CAudioParamDataItemString::load(CInputStream& in) {
    CString text;
    if (CError* err = in.readString(text)) return ORL_PASS(err, CString::empty());
    if (text == " ") text.clear();
    m_text = static_cast<CString&&>(text);
    return nullptr;
}

}  // namespace orl
