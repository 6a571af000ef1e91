#include "Audio/Processes/CModProcessSwitch.h"

#include "Audio/CAudioParamReader.h"
#include "Audio/Processes/CModProcessSwitchDef.h"

namespace orl {

namespace {
// Copies in series beyond any sensible filter order are not built.
constexpr int32_t kMaxCopies = 128;
}  // namespace

void CModProcessSwitch::updateNode() {
    const auto* def = dynamic_cast<const CModProcessSwitchDef*>(m_def);
    if (!def) return;
    const CAudioParamReader* indexParam = namedParam("index");
    const CAudioParamReader* countParam = namedParam("count");
    const int32_t index =
        indexParam ? static_cast<int32_t>(roundParam(indexParam->pick(m_group, m_element))) : def->defaultIndex();
    int32_t count = countParam ? static_cast<int32_t>(roundParam(countParam->pick(m_group, m_element))) : 1;
    if (count < 1) count = 1;
    if (count > kMaxCopies) count = kMaxCopies;
    if (index == m_index && count == m_count) return;
    m_index = index;
    m_count = count;
    removeAll();
    const CAudioProcessDefBase* chosen = def->find(index);
    if (!chosen) return;
    for (int32_t i = 0; i < count; ++i) {
        CString name = def->childName();
        if (i > 0) name += CString::fromInt(i + 1);
        if (!insertChild(childCount(), chosen, name)) break;
    }
}

}  // namespace orl
