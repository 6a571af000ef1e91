#pragma once
#include "Audio/CAudioParamInfo.h"
#include "Core/CObject.h"

namespace orl {

// The declaration of a parameter in the shared definitions (tag "audio:param"). Its attributes
// are read once, at init, into the info that every instance's parameter of that name uses:
// `element-size`, `data-type` ("", "string", "raw"), `is-single-group`, `is-single-element`,
// `is-persistent`, `is-storable`, `is-global`, `visual-name`, `param-registry`, `converter`
// (`converter2`, `converter3`... for the further numbers of an element), `min-values`,
// `max-values`, `state-names`, `switch-values`, `switch-names`, `def-values`. Converter paths
// are taken as written or below the shared converters.
class CAudioParamDef : public CObject {
public:
    // Where the shared converters live.
    static constexpr const char* kConverterBase = "shared::audio.paramcvt";

    CAudioParamDef();
    CError* init() override;

    const CAudioParamInfo& info() const { return m_info; }

private:
    CAudioParamInfo m_info;
};

}  // namespace orl
