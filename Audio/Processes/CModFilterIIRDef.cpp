#include "Audio/Processes/CModFilterIIRDef.h"

#include "Audio/CAudioModule.h"
#include "Audio/CAudioParamAllocDef.h"
#include "Audio/Filters/CAudioFilterGenArray.h"
#include "Audio/Filters/CAudioFilterRegistration.h"
#include "Audio/Processes/CModFilterIIR.h"
#include "Core/CError.h"

namespace orl {

namespace {

const CCreatorRow kFilterIIRCreators[] = {
    {"audio:modFilterIIR", &createObjectOf<CModFilterIIRDef>, &CObject::fillDescriptors},
    {nullptr, nullptr, nullptr},
};

}  // namespace

CModFilterIIRDef::CModFilterIIRDef() {
    (void)ensureCreatorsRegistered();
    (void)CAudioFilterRegistration::ensureCreatorsRegistered();
}

bool CModFilterIIRDef::ensureCreatorsRegistered() {
    static const bool registered = registerCreatorTable(kFilterIIRCreators);
    return registered;
}

CError* CModFilterIIRDef::init() {
    if (CError* err = CAudioProcessDefBase::init()) return ORL_PASS(err, fullName());
    const CString& path = getAttrString(CString("gen-array"));
    m_genArray = dynamic_cast<const CAudioFilterGenArray*>(path.isEmpty() ? nullptr : findObject(path));
    if (!m_genArray) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CModFilterIIRDef_init_GenArrayNotFound The 'gen-array' '%1' not found.", path);
    }
    return nullptr;
}

CError* CModFilterIIRDef::initChilds() {
    if (CError* err = CAudioProcessDefBase::initChilds()) return ORL_PASS(err, fullName());
    m_indexSlot = -1;
    m_slotCount = 0;
    m_valueCount = 0;
    for (const auto& [slot, alloc] : paramAllocs()) {
        if (slot < 0 || slot >= CAudioModule::kMaxParams) continue;
        if (slot + 1 > m_slotCount) m_slotCount = slot + 1;
        const CString& name = alloc->localName();
        if (name == "index") {
            m_indexSlot = slot;
        } else if (m_valueCount < CAudioFilterValues::kMaxValues) {
            m_valueSlots[m_valueCount] = slot;
            m_valueNames[m_valueCount] = name;
            ++m_valueCount;
        }
    }
    return nullptr;
}

CAudioProcessBase* CModFilterIIRDef::createProcess() const { return new CModFilterIIR(); }

namespace {
// Registered while the library loads, like every other creator table.
[[maybe_unused]] const bool g_filterIIRRegistered = CModFilterIIRDef::ensureCreatorsRegistered();
}  // namespace

}  // namespace orl
