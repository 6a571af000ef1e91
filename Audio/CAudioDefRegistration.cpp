#include "Audio/CAudioParamAllocDef.h"
#include "Audio/CAudioProcessBypassStateDef.h"
#include "Audio/CAudioProcessDef.h"
#include "Audio/CAudioProcessLinkDef.h"
#include "Audio/CAudioProcessLinkStateDef.h"
#include "Audio/Processes/CModNode.h"
#include "Core/CError.h"

namespace orl {

namespace {

template <class T>
CObject* create() {
    return new T();
}

// The definition classes react to no attribute as it is set: they read everything in init.
const CCreatorRow kAudioDefCreators[] = {
    {"audio:process-def", &create<CAudioProcessDef>, &CObject::fillDescriptors},
    {"audio:process-link", &create<CAudioProcessLinkDef>, &CObject::fillDescriptors},
    {"audio:process-link-state", &create<CAudioProcessLinkStateDef>, &CObject::fillDescriptors},
    {"audio:process-bypass-state", &create<CAudioProcessBypassStateDef>, &CObject::fillDescriptors},
    {"audio:param-alloc", &create<CAudioParamAllocDef>, &CObject::fillDescriptors},
    {"audio:modNode", &create<CModNodeDef>, &CObject::fillDescriptors},
    {nullptr, nullptr, nullptr},
};

}  // namespace

bool CAudioProcessDefBaseInit::ensureCreatorsRegistered() {
    static const bool registered = [] {
        CError* err = CObject::registerCreator(kAudioDefCreators);
        if (!err) return true;
        logError(err);
        deleteError(err);
        return false;
    }();
    return registered;
}

namespace {
// Registered while the library loads, like every other creator table.
[[maybe_unused]] const bool g_audioDefsRegistered = CAudioProcessDefBaseInit::ensureCreatorsRegistered();
}  // namespace

}  // namespace orl
