#include "Audio/Filters/CAudioFilterSerialGen.h"

#include "Audio/Filters/CAudioFilterSerialItem.h"
#include "Audio/Filters/CAudioFilterValues.h"
#include "Core/CError.h"

namespace orl {

CError* CAudioFilterSerialGen::initChilds() {
    m_items.clear();
    for (int32_t i = 0; i < childCount(); ++i) {
        if (const auto* item = dynamic_cast<const CAudioFilterSerialItem*>(child(i))) m_items.add(item);
    }
    if (CError* err = CAudioFilterGen::initChilds()) return ORL_PASS(err, fullName());
    return nullptr;
}

bool CAudioFilterSerialGen::make(const CAudioFilterValues& values, double sampleRate, CAudioFilterList& list) const {
    for (const CAudioFilterSerialItem* item : m_items) {
        if (!item->generator()) continue;
        CAudioFilterValues adjusted;
        item->adjust(values, adjusted);
        if (!item->generator()->make(adjusted, sampleRate, list)) return false;
    }
    return true;
}

int32_t CAudioFilterSerialGen::valueCount() const {
    return !m_items.isEmpty() && m_items[0]->generator() ? m_items[0]->generator()->valueCount() : 0;
}

const char* CAudioFilterSerialGen::valueName(int32_t i) const {
    return !m_items.isEmpty() && m_items[0]->generator() ? m_items[0]->generator()->valueName(i) : nullptr;
}

}  // namespace orl
