#include "Audio/Processes/CModProcessSwitchDef.h"

#include "Audio/Processes/CModProcessSwitch.h"
#include "Audio/Processes/COversamplingRegistration.h"
#include "Core/CError.h"

namespace orl {

CModProcessSwitchDef::CModProcessSwitchDef() { (void)COversamplingRegistration::ensureCreatorsRegistered(); }

CError* CModProcessSwitchDef::init() {
    if (CError* err = CAudioProcessDefBase::init()) return ORL_PASS(err, fullName());
    m_items.clear();
    CArray<CString> pieces;
    getAttrString(CString("process-list")).split(u';', true, true, pieces);
    for (int32_t i = 0; i < pieces.count(); ++i) {
        const CString item = pieces[i].trimmed();
        const CString number = CString::fromInt(i + 1);
        const int32_t colon = item.find(u':');
        if (colon < 0) {
            return ORL_ERROR(nullptr, fullName(),
                             "@orlstr_CModProcessSwitchDef_init_NoIndex No index delimiter ':' found in item #%1.",
                             number);
        }
        const CString indexText = item.substring(0, colon).trimmed();
        int32_t index = 0;
        if (!indexText.toInt(index)) {
            return ORL_ERROR(nullptr, fullName(),
                             "@orlstr_CModProcessSwitchDef_init_IndexError Invalid index value '%1' in item #%2.",
                             indexText, number);
        }
        if (findItem(index)) {
            return ORL_ERROR(nullptr, fullName(),
                             "@orlstr_CModProcessSwitchDef_init_IndexDupeError Duplicate index value '%1' used in "
                             "item #%2.",
                             indexText, number);
        }
        CItem entry;
        entry.index = index;
        entry.name = item.substring(colon + 1).trimmed();
        m_items.add(entry);
    }
    m_defIndex = getAttrInt(CString("def-index"));
    m_childName = getAttrString(CString("def-child-name"));
    if (m_childName.isEmpty()) m_childName = CString("mod");
    m_allpassBank = getAttrBool(CString("is-allpass-bank"));
    return nullptr;
}

const CModProcessSwitchDef::CItem* CModProcessSwitchDef::findItem(int32_t index) const {
    for (const CItem& item : m_items) {
        if (item.index == index) return &item;
    }
    return nullptr;
}

const CAudioProcessDefBase* CModProcessSwitchDef::find(int32_t index) const {
    const CItem* item = findItem(index);
    if (!item) item = findItem(m_defIndex);
    if (!item) return nullptr;
    // The alternatives may stand anywhere in the definitions, also behind the switch, so the
    // names are resolved when a switch first asks for them rather than in init.
    if (!item->def) item->def = dynamic_cast<const CAudioProcessDefBase*>(findObject(item->name));
    return item->def;
}

CAudioProcessBase* CModProcessSwitchDef::createProcess() const { return new CModProcessSwitch(); }

}  // namespace orl
