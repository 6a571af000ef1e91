#pragma once
#include "Audio/ParamFilters/CAudioParamFilterDef.h"

namespace orl {

// Tag "audio:param-filter-invert"; attribute `is-division` (false when missing).
class CAudioParamFilterDefInvert : public CAudioParamFilterDef {
public:
    CError* init() override;
    CAudioParamFilter* createFilter() const override;

    bool isDivision() const { return m_isDivision; }

private:
    bool m_isDivision = false;
};

}  // namespace orl
