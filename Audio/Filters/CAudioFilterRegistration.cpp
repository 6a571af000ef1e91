#include "Audio/Filters/CAudioFilterRegistration.h"

#include "Audio/Filters/CAudioFilterGenArray.h"
#include "Audio/Filters/CAudioFilterGenArrayItem.h"
#include "Audio/Filters/CAudioFilterHBFGen.h"
#include "Audio/Filters/CAudioFilterRBJGen.h"
#include "Audio/Filters/CAudioFilterSerialGen.h"
#include "Audio/Filters/CAudioFilterSerialItem.h"

namespace orl {

namespace {

// Everything is read in init and initChilds; no attribute needs a handler as it is set.
const CCreatorRow kFilterCreators[] = {
    {"audio:fltgen-rbj", &createObjectOf<CAudioFilterRBJGen>, &CObject::fillDescriptors},
    {"audio:fltgen-hbf", &createObjectOf<CAudioFilterHBFGen>, &CObject::fillDescriptors},
    {"audio:fltgen-serial", &createObjectOf<CAudioFilterSerialGen>, &CObject::fillDescriptors},
    {"audio:fltgen-serial-item", &createObjectOf<CAudioFilterSerialItem>, &CObject::fillDescriptors},
    {"audio:fltgen-array", &createObjectOf<CAudioFilterGenArray>, &CObject::fillDescriptors},
    {"audio:fltgen-array-item", &createObjectOf<CAudioFilterGenArrayItem>, &CObject::fillDescriptors},
    {nullptr, nullptr, nullptr},
};

}  // namespace

bool CAudioFilterRegistration::ensureCreatorsRegistered() {
    static const bool registered = registerCreatorTable(kFilterCreators);
    return registered;
}

namespace {
// Registered while the library loads, like every other creator table.
[[maybe_unused]] const bool g_filterGensRegistered = CAudioFilterRegistration::ensureCreatorsRegistered();
}  // namespace

}  // namespace orl
