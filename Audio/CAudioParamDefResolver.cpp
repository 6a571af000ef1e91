#include "Audio/CAudioParamDefResolver.h"

#include "Audio/CAudioParamDef.h"
#include "Core/CObject.h"

namespace orl {

const CAudioParamDef* CAudioParamDefResolver::find(const CString& paramName, const CArray<CPair>& pairs) {
    const CObject* shared = CObject::sharedRoot();
    if (!shared) return nullptr;
    for (const CPair& pair : pairs) {
        if (!paramName.startsWith(pair.from)) continue;
        const CString path = pair.to + paramName.substring(pair.from.length());
        if (const auto* def = dynamic_cast<const CAudioParamDef*>(shared->findObject(path))) return def;
    }
    return nullptr;
}

}  // namespace orl
