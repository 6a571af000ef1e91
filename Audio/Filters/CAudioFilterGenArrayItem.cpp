#include "Audio/Filters/CAudioFilterGenArrayItem.h"

#include "Audio/Filters/CAudioFilterGen.h"
#include "Core/CError.h"

namespace orl {

CError* CAudioFilterGenArrayItem::init() {
    if (CError* err = CObject::init()) return ORL_PASS(err, fullName());
    m_index = getAttrInt(CString("index"));
    const CString& path = getAttrString(CString("fltgen"));
    m_gen = dynamic_cast<const CAudioFilterGen*>(findObject(path));
    if (!m_gen) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CAudioFilterGenArrayItem_init_GenNotFound Filter generator '%1' not found.", path);
    }
    return nullptr;
}

}  // namespace orl
