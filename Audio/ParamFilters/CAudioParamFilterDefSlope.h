#pragma once
#include "Audio/ParamFilters/CAudioParamFilterSlope.h"
#include "Audio/ParamFilters/CAudioParamFilterDef.h"

namespace orl {

// Tag "audio:param-filter-slope".
class CAudioParamFilterDefSlope : public CAudioParamFilterDef {
public:
    CAudioParamFilter* createFilter() const override { return named(new CAudioParamFilterSlope()); }
};

}  // namespace orl
