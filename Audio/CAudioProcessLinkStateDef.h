#pragma once
#include "Core/CObject.h"

namespace orl {

// Names a parameter whose rounded value is the id of the link state in force; links carry the
// state under which they apply. Tag "audio:process-link-state".
class CAudioProcessLinkStateDef : public CObject {
public:
    CError* init() override;

    // Full name, resolved against the definition that holds this object.
    const CString& paramName() const { return m_paramName; }
    // The name as written, for a running process to resolve against its own path.
    const CString& localParamName() const { return m_localParamName; }

private:
    CString m_paramName;
    CString m_localParamName;
};

}  // namespace orl
