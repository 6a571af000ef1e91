#include "Audio/VST/CVSTLibraryUse.h"

#include "Audio/CAudioParamRegistration.h"
#include "Audio/CAudioParamRegistry.h"
#include "Audio/Converters/CConverterRegistration.h"
#include "Audio/ParamFilters/CParamFilterRegistration.h"
#include "Audio/Processes/CSignalModules.h"
#include "Core/CApplication.h"
#include "Core/CCoreClasses.h"
#include "Platform/CCriticalSection.h"

namespace orl {

namespace {

struct CUseState {
    CCriticalSection lock{2000, false};
    int32_t users = 0;
};

// Never destroyed: a host thread may still close an instance while the process ends.
CUseState& state() {
    static auto* s = new CUseState();
    return *s;
}

bool registerParameterClasses() {
    const bool converters = CConverterRegistration::ensureCreatorsRegistered();
    const bool params = CAudioParamRegistration::ensureCreatorsRegistered();
    const bool filters = CParamFilterRegistration::ensureCreatorsRegistered();
    return converters && params && filters && CAudioParamRegistry::ensureCreatorsRegistered();
}

CApplication::CSetup productSetup() {
    CApplication::CSetup setup;
    setup.productKey = "Orlune Tamberlo 3 VST2 ";
    setup.classTables[0] = &CCoreClasses::registerAll;
    setup.classTables[1] = &registerParameterClasses;
    setup.classTables[2] = &CSignalModules::registerAll;
    return setup;
}

}  // namespace

CVSTLibraryUse::CVSTLibraryUse() {
    CUseState& s = state();
    CCriticalSectionLock hold(s.lock);
    // A failed load shows its error; the instance's init then fails for want of the application.
    if (s.users++ == 0) (void)CApplication::load(productSetup());
}

CVSTLibraryUse::~CVSTLibraryUse() {
    CUseState& s = state();
    CCriticalSectionLock hold(s.lock);
    if (--s.users == 0) CApplication::unload();
}

int32_t CVSTLibraryUse::userCount() {
    CUseState& s = state();
    CCriticalSectionLock hold(s.lock);
    return s.users;
}

}  // namespace orl
