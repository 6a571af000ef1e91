#include "Audio/Processes/CModFilterIIRModule.h"

#include "Audio/CAudioProcessTerminalBase.h"
#include "Audio/Filters/CAudioFilterGen.h"
#include "Audio/Filters/CAudioFilterGenArray.h"
#include "Audio/Filters/CAudioFilterList.h"
#include "Audio/Filters/CAudioFilterValues.h"
#include "Audio/Processes/CModFilterIIRDef.h"

namespace orl {

namespace {
const CModFilterIIRDef* filterDef(const CAudioProcessTerminalBase* process) {
    return process ? dynamic_cast<const CModFilterIIRDef*>(process->def()) : nullptr;
}
}  // namespace

void CModFilterIIRModule::bindParams() {
    const CModFilterIIRDef* def = filterDef(m_process);
    m_paramCount = def ? def->slotCount() : 0;
    CAudioModule::bindParams();
}

double CModFilterIIRModule::rate() const {
    return m_process && m_process->sampleRate() > 0.0 ? m_process->sampleRate() : m_sampleRate;
}

void CModFilterIIRModule::resetState() { m_program.resetState(); }

void CModFilterIIRModule::update() {
    const CModFilterIIRDef* def = filterDef(m_process);
    const double sr = rate();
    CAudioFilterList list;
    if (def && def->genArray()) {
        const int32_t index = def->indexSlot() >= 0 ? paramInt(def->indexSlot(), 0) : 0;
        if (const CAudioFilterGen* gen = def->genArray()->find(index)) {
            CAudioFilterValues values;
            for (int32_t i = 0; i < def->valueCount(); ++i) {
                // An unbound slot leaves the value to the generator's own default.
                if (isParamBound(def->valueSlot(i))) values.set(&def->valueName(i), paramValue(def->valueSlot(i), 0.0));
            }
            (void)gen->make(values, sr, list);
        }
    }
    if (m_resetRequested || !m_built || sr != m_builtRate || !m_program.sameShape(list)) {
        m_program.build(list, sr);
        m_built = true;
        m_builtRate = sr;
    } else {
        m_program.change(list);
    }
}

}  // namespace orl
