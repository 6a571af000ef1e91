#pragma once
#include "Audio/ParamFilters/CAudioParamFilterBypassMS.h"
#include "Audio/ParamFilters/CAudioParamFilterDef.h"

namespace orl {

// Tag "audio:param-filter-bypass-ms".
class CAudioParamFilterDefBypassMS : public CAudioParamFilterDef {
public:
    CAudioParamFilter* createFilter() const override { return named(new CAudioParamFilterBypassMS()); }
};

}  // namespace orl
