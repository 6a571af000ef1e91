#include "Audio/CAudioProcessDefBaseInit.h"

#include "Audio/CAudioParamAllocDef.h"
#include "Audio/CAudioParamDef.h"
#include "Audio/CAudioParamRemapDef.h"
#include "Audio/CAudioParamSharedStorage.h"
#include "Audio/ParamFilters/CAudioParamFilterDef.h"
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

void CAudioProcessDefBaseInit::collectParamSide(const CObject* obj, const CString& scope) {
    for (int32_t i = 0; i < obj->childCount(); ++i) {
        const CObject* c = obj->child(i);
        const CString local = scope.isEmpty() ? c->baseName() : scope + "." + c->baseName();
        if (const auto* decl = dynamic_cast<const CAudioParamDef*>(c)) {
            m_paramDecls.add(CParamDecl{local, decl});
        } else if (const auto* remap = dynamic_cast<const CAudioParamRemapDef*>(c)) {
            m_paramRemaps.add(CRemapDecl{scope, remap});
        } else if (const auto* filter = dynamic_cast<const CAudioParamFilterDef*>(c)) {
            m_paramFilters.add(CFilterDecl{scope, filter});
        } else if (const auto* shared = dynamic_cast<const CAudioParamSharedStorage*>(c)) {
            m_sharedStorages.add(CSharedDecl{scope, shared});
        } else if (c->tag() == "core:object") {
            collectParamSide(c, local);
        }
    }
}

CError* CAudioProcessDefBaseInit::initChilds() {
    m_paramAllocs.clear();
    m_nameScopes.clear();
    m_paramDecls.clear();
    m_paramRemaps.clear();
    m_paramFilters.clear();
    m_sharedStorages.clear();
    collectParamSide(this, CString());
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
