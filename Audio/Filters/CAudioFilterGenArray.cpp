#include "Audio/Filters/CAudioFilterGenArray.h"

#include "Audio/Filters/CAudioFilterGenArrayItem.h"
#include "Core/CError.h"

namespace orl {

CError* CAudioFilterGenArray::initChilds() {
    m_items.clear();
    for (int32_t i = 0; i < childCount(); ++i) {
        const auto* item = dynamic_cast<const CAudioFilterGenArrayItem*>(child(i));
        if (!item) continue;
        if (find(item->index())) {
            m_items.clear();
            return ORL_ERROR(nullptr, fullName(),
                             "@orlstr_CAudioFilterGenArray_initChilds_IndexDupeError Duplicate index value '%1' "
                             "used in item #%2.",
                             CString::fromInt(item->index()), CString::fromInt(i + 1));
        }
        m_items.add(item);
    }
    if (CError* err = CObject::initChilds()) return ORL_PASS(err, fullName());
    return nullptr;
}

const CAudioFilterGen* CAudioFilterGenArray::find(int32_t index) const {
    for (const CAudioFilterGenArrayItem* item : m_items) {
        if (item->index() == index) return item->generator();
    }
    return nullptr;
}

}  // namespace orl
