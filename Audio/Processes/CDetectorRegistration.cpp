#include "Audio/Processes/CDetectorRegistration.h"

#include "Audio/Processes/CModAbs.h"
#include "Audio/Processes/CModLeveler.h"
#include "Audio/Processes/CModRMS.h"
#include "Core/CError.h"

namespace orl {

namespace {

template <class T>
CObject* create() {
    return new T();
}

// The definitions read everything in init; no attribute needs a handler as it is set.
const CCreatorRow kDetectorCreators[] = {
    {"audio:modAbs", &create<CModAbsDef>, &CObject::fillDescriptors},
    {"audio:modLeveler", &create<CModLevelerDef>, &CObject::fillDescriptors},
    {"audio:modRMS", &create<CModRMSDef>, &CObject::fillDescriptors},
    {nullptr, nullptr, nullptr},
};

}  // namespace

bool CDetectorRegistration::ensureCreatorsRegistered() {
    static const bool registered = [] {
        CError* err = CObject::registerCreator(kDetectorCreators);
        if (!err) return true;
        logError(err);
        deleteError(err);
        return false;
    }();
    return registered;
}

namespace {
// Registered while the library loads, like every other creator table.
[[maybe_unused]] const bool g_detectorsRegistered = CDetectorRegistration::ensureCreatorsRegistered();
}  // namespace

}  // namespace orl
