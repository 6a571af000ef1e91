#pragma once
#include <cstdint>

#include "Core/CArray.h"
#include "Core/CMap.h"
#include "Core/CObject.h"

namespace orl {

class CAudioParamAllocDef;
class CAudioParamDef;
class CAudioParamFilterDef;
class CAudioParamRemapDef;
class CAudioParamSharedStorage;

// The parameter side of a process definition: the bindings of parameters to module inputs and
// the plain name scopes under which parameters of the process are grouped.
class CAudioProcessDefBaseInit : public CObject {
public:
    CAudioProcessDefBaseInit();

    CError* initChilds() override;

    // Bindings by module input slot.
    const CMap<int32_t, CAudioParamAllocDef*>& paramAllocs() const { return m_paramAllocs; }
    // The binding of a slot, or null when the definition gives none.
    const CAudioParamAllocDef* paramAlloc(int32_t index) const;
    // Plain "core:object" children: each adds its name as one more component to the names of the
    // parameters below it.
    const CArray<CObject*>& nameScopes() const { return m_nameScopes; }

    // Parameter declarations of the process, each with its name below the process: the names
    // of the plain scopes it stands in, then its own ("comp-params.attack").
    struct CParamDecl {
        CString localName;
        const CAudioParamDef* def = nullptr;
    };
    const CArray<CParamDecl>& paramDecls() const { return m_paramDecls; }
    // Remaps of the process, each with the scope it stands in ("" directly below the process).
    struct CRemapDecl {
        CString scope;
        const CAudioParamRemapDef* def = nullptr;
    };
    const CArray<CRemapDecl>& paramRemaps() const { return m_paramRemaps; }
    // Parameter filters and shared storage of the process, with their scopes likewise.
    struct CFilterDecl {
        CString scope;
        const CAudioParamFilterDef* def = nullptr;
    };
    const CArray<CFilterDecl>& paramFilters() const { return m_paramFilters; }
    struct CSharedDecl {
        CString scope;
        const CAudioParamSharedStorage* def = nullptr;
    };
    const CArray<CSharedDecl>& sharedStorages() const { return m_sharedStorages; }

    // A name written in this definition as a full dotted name, relative to this definition.
    CString resolveName(const CString& name) const;

    // Registers the tags of the definition classes once; true when they are registered. Static
    // initialisation calls it; referring to it also keeps the registration in a static link.
    static bool ensureCreatorsRegistered();

private:
    // Declarations and remaps below obj, scope being the names of the scopes above them.
    void collectParamSide(const CObject* obj, const CString& scope);

    CMap<int32_t, CAudioParamAllocDef*> m_paramAllocs;
    CArray<CObject*> m_nameScopes;
    CArray<CParamDecl> m_paramDecls;
    CArray<CRemapDecl> m_paramRemaps;
    CArray<CFilterDecl> m_paramFilters;
    CArray<CSharedDecl> m_sharedStorages;
};

}  // namespace orl
