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

private:
    CString m_paramName;
};

}  // namespace orl
