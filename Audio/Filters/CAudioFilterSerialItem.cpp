#include "Audio/Filters/CAudioFilterSerialItem.h"

#include <cmath>

#include "Audio/Filters/CAudioFilterGen.h"
#include "Audio/Filters/CAudioFilterValues.h"
#include "Core/CError.h"

namespace orl {

CError* CAudioFilterSerialItem::init() {
    if (CError* err = CObject::init()) return ORL_PASS(err, fullName());
    m_gen = nullptr;
    const CString& path = getAttrString(CString("fltgen"));
    m_gen = dynamic_cast<const CAudioFilterGen*>(findObject(path));
    if (!m_gen) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CAudioFilterSerialItem_init_GenNotFound Filter generator '%1' not found.", path);
    }
    if (!CAudioFilterGen::parseNumbers(getAttrString(CString("adjust")), m_adjust)) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CAudioFilterSerialItem_init_AdjustError Invalid number in 'adjust': '%1'.",
                         getAttrString(CString("adjust")));
    }
    if (!CAudioFilterGen::parseNumbers(getAttrString(CString("adjust-pow")), m_adjustPow)) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CAudioFilterSerialItem_init_AdjustPowError Invalid number in 'adjust-pow': '%1'.",
                         getAttrString(CString("adjust-pow")));
    }
    return nullptr;
}

void CAudioFilterSerialItem::adjust(const CAudioFilterValues& in, CAudioFilterValues& out) const {
    out = in;
    if (!m_gen) return;
    const int32_t n = m_gen->valueCount();
    for (int32_t i = 0; i < n; ++i) {
        const int32_t at = out.find(m_gen->valueName(i));
        if (at < 0) continue;
        double v = out.value(at);
        if (i < m_adjustPow.count() && !std::isnan(m_adjustPow[i])) v = std::pow(v, m_adjustPow[i]);
        if (i < m_adjust.count() && !std::isnan(m_adjust[i])) v *= m_adjust[i];
        out.setValue(at, v);
    }
}

}  // namespace orl
