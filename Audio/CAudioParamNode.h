#pragma once
#include "Audio/CAudioParam.h"

namespace orl {

struct CAudioParamBinding;

// A parameter as the collector keeps it: the parameter and the list of module inputs bound to
// it. Every parameter that the collector hands out is one of these, so that a change taken
// from its list finds the bindings to notify without a look-up.
class CAudioParamNode : public CAudioParam {
public:
    explicit CAudioParamNode(const CString& name) : CAudioParam(name) {}

    // Guarded by the collector's binding lock; appended at the tail.
    CAudioParamBinding* bindings = nullptr;
};

}  // namespace orl
