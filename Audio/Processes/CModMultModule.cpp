#include "Audio/Processes/CModMultModule.h"

#include "Audio/CAudioProcessTerminalBase.h"
#include "Audio/Processes/CModMultDef.h"
#include "Audio/Processes/CSimpleModuleKernel.h"

namespace orl {

void CModMultModule::connectPorts() {
    CAudioModule::connectPorts();
    const CSimpleModuleKernel& k = CSimpleModuleKernel::get();
    const auto* def = m_process ? dynamic_cast<const CModMultDef*>(m_process->def()) : nullptr;
    m_routine = def && def->isInverted() ? k.multiplyInverted : def && def->isDivision() ? k.divide : k.multiply;
}

// The port-1 channels may have changed with the connections; they are looked up anew.
void CModMultModule::update() { m_factor = findPortChannel(1); }

}  // namespace orl
