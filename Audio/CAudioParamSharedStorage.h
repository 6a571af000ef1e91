#pragma once
#include "Core/CObject.h"

namespace orl {

class CAppData;

// `audio:param-shared-storage`: declares that a parameter lives on in stored application data,
// so that it follows every instance of the plug-in and outlives the session. Attributes: `param`
// (the parameter's name relative to the process), `data-name` (the datum) and `storage-type`
// ("local", "group" or "global").
class CAudioParamSharedStorage : public CObject {
public:
    CError* init() override;

    const CString& paramName() const { return m_paramName; }
    const CString& dataName() const { return m_dataName; }
    CAppData* store() const { return m_store; }

private:
    CString m_paramName;
    CString m_dataName;
    CAppData* m_store = nullptr;
};

}  // namespace orl
