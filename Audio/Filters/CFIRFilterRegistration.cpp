#include "Audio/Filters/CFIRFilterRegistration.h"

#include "Audio/Filters/CAudioFilterFIRLPGen.h"
#include "Core/CClassDescriptors.h"

namespace orl {

namespace {

// The generator reads its values when asked; it has no attributes to handle.
const CCreatorRow kFIRFilterCreators[] = {
    {"audio:fltgen-firlp", &createObjectOf<CAudioFilterFIRLPGen>, &CObject::fillDescriptors},
    {nullptr, nullptr, nullptr},
};

}  // namespace

bool CFIRFilterRegistration::ensureCreatorsRegistered() {
    static const bool registered = registerCreatorTable(kFIRFilterCreators);
    return registered;
}

namespace {
[[maybe_unused]] const bool g_firFilterGensRegistered = CFIRFilterRegistration::ensureCreatorsRegistered();
}  // namespace

}  // namespace orl
