#pragma once
#include "Core/CArray.h"
#include "Core/CObject.h"

namespace orl {

// Aliases of parameter names (tag "audio:param-remap"): `orig` is another name for `new`.
// Without either, a child named `content` lists several in its `value`: "a = b; c = d".
// Names are written as in the rest of the definition; the process that instantiates the
// definition resolves them (`orig` under its own path, `new` by the usual path rules).
class CAudioParamRemapDef : public CObject {
public:
    struct CRemap {
        CString orig;
        CString target;
    };

    CError* init() override;
    CError* initChilds() override;

    const CArray<CRemap>& remaps() const { return m_remaps; }

private:
    CArray<CRemap> m_remaps;
};

}  // namespace orl
