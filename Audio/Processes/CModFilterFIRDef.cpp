#include "Audio/Processes/CModFilterFIRDef.h"

#include "Audio/Filters/CAudioFilterGenArray.h"
#include "Audio/Filters/CAudioFilterRegistration.h"
#include "Audio/Filters/CFIRFilterRegistration.h"
#include "Audio/Processes/CModFilterFIR.h"
#include "Core/CError.h"

namespace orl {

namespace {

const CCreatorRow kFilterFIRCreators[] = {
    {"audio:modFilterFIR", &createObjectOf<CModFilterFIRDef>, &CObject::fillDescriptors},
    {nullptr, nullptr, nullptr},
};

}  // namespace

CModFilterFIRDef::CModFilterFIRDef() {
    (void)ensureCreatorsRegistered();
    // The arrays and the generator they name are made from the same definition files.
    (void)CAudioFilterRegistration::ensureCreatorsRegistered();
    (void)CFIRFilterRegistration::ensureCreatorsRegistered();
}

bool CModFilterFIRDef::ensureCreatorsRegistered() {
    static const bool registered = registerCreatorTable(kFilterFIRCreators);
    return registered;
}

CError* CModFilterFIRDef::init() {
    if (CError* err = CAudioProcessDefBase::init()) return ORL_PASS(err, fullName());
    m_zeroLatency = getAttrBool(CString("is-zero-latency"));
    const CString& path = getAttrString(CString("gen-array"));
    m_genArray = dynamic_cast<const CAudioFilterGenArray*>(path.isEmpty() ? nullptr : findObject(path));
    if (!m_genArray) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CModFilterFIRDef_init_GenArrayNotFound The 'gen-array' '%1' not found.", path);
    }
    return nullptr;
}

CAudioProcessBase* CModFilterFIRDef::createProcess() const { return new CModFilterFIR(); }

namespace {
// Registered while the library loads, like every other creator table.
[[maybe_unused]] const bool g_filterFIRRegistered = CModFilterFIRDef::ensureCreatorsRegistered();
}  // namespace

}  // namespace orl
