#pragma once
#include "Audio/ParamFilters/CAudioParamFilterBypassOS.h"
#include "Audio/ParamFilters/CAudioParamFilterDef.h"

namespace orl {

// Tag "audio:param-filter-bypass-os".
class CAudioParamFilterDefBypassOS : public CAudioParamFilterDef {
public:
    CAudioParamFilter* createFilter() const override { return named(new CAudioParamFilterBypassOS()); }
};

}  // namespace orl
