#pragma once
#include <cstdint>

#include "Audio/CAudioProcessDefBase.h"
#include "Core/CArray.h"
#include "Core/CMap.h"

namespace orl {

class CAudioProcessLinkDef;
class CAudioProcessLinkStateDef;
class CAudioProcessBypassStateDef;

// A subgraph: child process definitions, the links between them and the states that switch
// links and bypass processes. Tag "audio:process-def".
class CAudioProcessDef : public CAudioProcessDefBase {
public:
    CError* init() override;
    CError* initChilds() override;

    // Children not linked explicitly form a chain in definition order.
    bool isAutoLinks() const { return m_autoLinks; }
    const CArray<CAudioProcessDefBase*>& childDefs() const { return m_childDefs; }
    // Links by the link state under which they apply; -1 holds those that always apply.
    const CMap<int32_t, CArray<CAudioProcessLinkDef*>>& linksByState() const { return m_linksByState; }
    const CArray<CAudioProcessLinkStateDef*>& linkStates() const { return m_linkStates; }
    const CArray<CAudioProcessBypassStateDef*>& bypassStates() const { return m_bypassStates; }

    // Makes a CAudioProcess running this subgraph.
    CAudioProcessBase* createProcess() const override;

private:
    bool m_autoLinks = false;
    CArray<CAudioProcessDefBase*> m_childDefs;
    CMap<int32_t, CArray<CAudioProcessLinkDef*>> m_linksByState;
    CArray<CAudioProcessLinkStateDef*> m_linkStates;
    CArray<CAudioProcessBypassStateDef*> m_bypassStates;
};

}  // namespace orl
