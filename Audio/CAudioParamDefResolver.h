#pragma once
#include "Core/CArray.h"
#include "Core/CString.h"

namespace orl {

class CAudioParamDef;

// Finds the declaration of a run-time parameter in the shared definitions through a registry's
// `def-name-remap` pairs: a name that starts with `from` is looked up at `to` followed by the
// rest of the name, so "plugin.modMain.bypass-enable" under ("plugin", "audio") finds
// "audio.modMain.bypass-enable".
class CAudioParamDefResolver {
public:
    struct CPair {
        CString from;
        CString to;
    };

    // The declaration for a name, by the first pair that leads to a CAudioParamDef in the shared
    // tree; null if none. CAudioParamCollector::resolveDefinition allocates what it finds.
    static const CAudioParamDef* find(const CString& paramName, const CArray<CPair>& pairs);
};

}  // namespace orl
