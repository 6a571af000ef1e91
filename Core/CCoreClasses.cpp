#include "Core/CCoreClasses.h"

#include "Core/CAttrDoubler.h"
#include "Core/CSharedAttribute.h"
#include "Core/CTimerQueued.h"

namespace orl {

namespace {

const CCreatorRow kCoreCreators[] = {
    {"core:shared-attribute", &createObjectOf<CSharedAttribute>, &CSharedAttribute::fillDescriptors},
    {"core:attr-doubler", &createObjectOf<CAttrDoubler>, &CAttrDoubler::fillDescriptors},
    {nullptr, nullptr, nullptr},
};

}  // namespace

bool CCoreClasses::registerAll() {
    static const bool registered = registerCreatorTable(kCoreCreators);
    return registered && CTimerQueued::ensureCreatorsRegistered();
}

namespace {
[[maybe_unused]] const bool g_coreClassesRegistered = CCoreClasses::registerAll();
}

}  // namespace orl
