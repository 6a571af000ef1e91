#include "Audio/CAudioParamSharedStorage.h"

#include "Core/CAppData.h"
#include "Core/CError.h"

namespace orl {

CError* CAudioParamSharedStorage::init() {
    if (CError* err = CObject::init()) return ORL_PASS(err, fullName());
    m_paramName = getAttrString(CString("param"));
    if (m_paramName.isEmpty()) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CAudioParamSharedStorage_init_InvalidParamName Invalid parameter name specified.");
    }
    m_dataName = getAttrString(CString("data-name"));
    if (m_dataName.isEmpty()) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CAudioParamSharedStorage_init_InvalidDataName Invalid shared data name specified.");
    }
    const CString& storageType = getAttrString(CString("storage-type"));
    m_store = CAppData::byStorageType(storageType);
    if (!m_store) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CAudioParamSharedStorage_init_InvalidStorageType Invalid storage type \"%1\" specified.",
                         storageType);
    }
    return nullptr;
}

}  // namespace orl
