#pragma once
#include <cstdint>

#include "Core/CObject.h"

namespace orl {

// Binds a parameter, named relative to the process, to one input slot of the process's module.
// Tag "audio:param-alloc".
class CAudioParamAllocDef : public CObject {
public:
    CError* init() override;

    const CString& paramName() const { return m_paramName; }
    // The last component of the parameter name: "freq" of "^freq", "/plugin.x.freq" or "freq".
    // Modules that take values by name ("freq", "index", "mode") match on it.
    const CString& localName() const { return m_localName; }
    int32_t index() const { return m_index; }
    // A change of this parameter alone makes the module crossfade.
    bool isSmoothUpdate() const { return m_smoothUpdate; }
    // A change of any group or element concerns each module; the module reads them all itself.
    bool useAllGroups() const { return m_allGroups; }
    bool useAllElements() const { return m_allElements; }

private:
    CString m_paramName;
    CString m_localName;
    int32_t m_index = 0;
    bool m_smoothUpdate = false;
    bool m_allGroups = false;
    bool m_allElements = false;
};

}  // namespace orl
