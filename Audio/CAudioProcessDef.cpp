#include "Audio/CAudioProcessDef.h"

#include "Audio/CAudioParamAllocDef.h"
#include "Audio/CAudioProcessBypassStateDef.h"
#include "Audio/CAudioProcessLinkDef.h"
#include "Audio/CAudioProcessLinkStateDef.h"
#include "Core/CError.h"

namespace orl {

namespace {

// Children that belong to the parameter side of a definition rather than to its graph.
bool isParameterSideTag(const CString& tag) {
    return tag == "core:object" || tag == "audio:param" || tag == "audio:param-remap" ||
           tag == "audio:param-shared-storage" || tag.startsWith("audio:param-filter-");
}

}  // namespace

CError* CAudioProcessDef::init() {
    if (CError* err = CAudioProcessDefBase::init()) return ORL_PASS(err, fullName());
    m_autoLinks = getAttrBool(CString("is-auto-links"));
    return nullptr;
}

CError* CAudioProcessDef::initChilds() {
    m_childDefs.clear();
    m_linksByState.clear();
    m_linkStates.clear();
    m_bypassStates.clear();
    for (int32_t i = 0; i < childCount(); ++i) {
        CObject* c = child(i);
        if (auto* def = dynamic_cast<CAudioProcessDefBase*>(c)) {
            m_childDefs.add(def);
        } else if (auto* link = dynamic_cast<CAudioProcessLinkDef*>(c)) {
            m_linksByState[link->stateId()].add(link);
        } else if (auto* linkState = dynamic_cast<CAudioProcessLinkStateDef*>(c)) {
            m_linkStates.add(linkState);
        } else if (auto* bypass = dynamic_cast<CAudioProcessBypassStateDef*>(c)) {
            m_bypassStates.add(bypass);
        } else if (dynamic_cast<CAudioParamAllocDef*>(c) || isParameterSideTag(c->tag())) {
            // The parameter side: sorted by the base class, or read when the process is made.
        } else {
            CError* err = ORL_ERROR(nullptr, c->fullName(),
                                    "@orlstr_CAudioProcess_init_ProcessDefClassInvalid Audio process def of invalid "
                                    "class supplied.");
            return ORL_PASS(err, fullName());
        }
    }
    if (CError* err = CAudioProcessDefBase::initChilds()) return ORL_PASS(err, fullName());
    return nullptr;
}

}  // namespace orl
