#include "Audio/CAudioProcessDefBaseInit.h"

#include "Audio/CAudioParamAllocDef.h"
#include "Audio/CDefNameResolver.h"
#include "Core/CError.h"
#include "Core/CLog.h"

namespace orl {

CAudioProcessDefBaseInit::CAudioProcessDefBaseInit() {
    // The tags are in the registry before any definition exists; the call also makes sure that
    // a static link of the library keeps the registration table.
    (void)ensureCreatorsRegistered();
}

const CAudioParamAllocDef* CAudioProcessDefBaseInit::paramAlloc(int32_t index) const {
    auto it = m_paramAllocs.find(index);
    return it == m_paramAllocs.end() ? nullptr : it->second;
}

CString CAudioProcessDefBaseInit::resolveName(const CString& name) const {
    return CDefNameResolver::resolve(fullName(), name);
}

CError* CAudioProcessDefBaseInit::initChilds() {
    m_paramAllocs.clear();
    m_nameScopes.clear();
    for (int32_t i = 0; i < childCount(); ++i) {
        CObject* c = child(i);
        if (auto* alloc = dynamic_cast<CAudioParamAllocDef*>(c)) {
            // Two bindings of one slot are a mistake in the definition; the first one stays so
            // that the module sees what the definition lists first.
            if (!m_paramAllocs.try_emplace(alloc->index(), alloc).second) {
                CLog::logf("Duplicate param-alloc index %d // %s", alloc->index(),
                           alloc->fullName().narrowed().c8());
            }
        } else if (c->tag() == "core:object") {
            m_nameScopes.add(c);
        }
    }
    if (CError* err = CObject::initChilds()) return ORL_PASS(err, fullName());
    return nullptr;
}

}  // namespace orl
