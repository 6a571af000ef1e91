#pragma once
#include "Audio/ParamFilters/CAudioParamFilterBypassGroupSolo.h"
#include "Audio/ParamFilters/CAudioParamFilterDef.h"

namespace orl {

// Tag "audio:param-filter-bypass-group-solo".
class CAudioParamFilterDefBypassGroupSolo : public CAudioParamFilterDef {
public:
    CAudioParamFilter* createFilter() const override { return named(new CAudioParamFilterBypassGroupSolo()); }
};

}  // namespace orl
