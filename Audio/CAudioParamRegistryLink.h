#pragma once
#include <cstdint>

#include "Core/CString.h"

namespace orl {

class CAudioParam;
class CAudioParamEnumRegistry;
struct CAudioParamUndoContext;

// What the collector needs of a parameter registry. Registries are asked in order of ascending
// prefix length: first those that enumerate their parameters' values (the first that takes a
// parameter ends the round), then, when none did, every other one. A registry that takes a
// parameter resolves its definition (CAudioParamDefResolver) and enters it among its own.
class CAudioParamRegistryLink {
public:
    virtual ~CAudioParamRegistryLink() = default;

    // The start of the full names of the parameters it holds, "plugin.modMain." for instance.
    virtual const CString& paramPrefix() const = 0;
    // Whether the registry enumerates the values of its parameters (each value a preset of it).
    virtual bool isEnumerated() const = 0;
    // Offered a parameter: true when the registry took it. Called without any lock held.
    virtual bool offerParam(CAudioParam& param) = 0;
    // After the collector has offered every parameter once at the end of the set-up.
    virtual void firstActivation() = 0;

    // The full name by which a definition's `param-registry` names this registry, and the
    // interface through which it hears of each change of a parameter that it enumerates (null
    // when it enumerates nothing).
    virtual const CString& registryName() const = 0;
    virtual CAudioParamEnumRegistry* enumRegistry() { return nullptr; }
    // A control's hand edit of a group of param, which the registry took: a registry that names
    // its current preset renames it to show that the state was edited. With param locked; true
    // when something was renamed.
    virtual bool markEdited(const CAudioParam& param, int32_t group, const CAudioParamUndoContext& undo) {
        (void)param;
        (void)group;
        (void)undo;
        return false;
    }

    // The usual test of offerParam: the name starts with the prefix.
    bool matchesPrefix(const CString& name) const { return name.startsWith(paramPrefix()); }
};

}  // namespace orl
