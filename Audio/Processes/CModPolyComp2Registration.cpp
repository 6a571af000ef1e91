#include "Audio/Processes/CModPolyComp2Def.h"

namespace orl {

namespace {

// The definition reads everything in init; no attribute needs a handler as it is set.
const CCreatorRow kPolyCompCreators[] = {
    {"audio:modPolyComp2", &createObjectOf<CModPolyComp2Def>, &CObject::fillDescriptors},
    {nullptr, nullptr, nullptr},
};

}  // namespace

bool CModPolyComp2Def::ensureCreatorsRegistered() {
    static const bool registered = registerCreatorTable(kPolyCompCreators);
    return registered;
}

namespace {
// Registered while the library loads, like every other creator table.
[[maybe_unused]] const bool g_polyCompRegistered = CModPolyComp2Def::ensureCreatorsRegistered();
}  // namespace

}  // namespace orl
