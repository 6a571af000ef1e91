#pragma once
#include <cstdint>

#include "Audio/Filters/CAudioFilterGen.h"
#include "Core/CArray.h"

namespace orl {

class CAudioFilterSerialItem;

// The filters of its items in series, tag "audio:fltgen-serial", each item's generator seeing
// the values as that item adjusts them.
class CAudioFilterSerialGen : public CAudioFilterGen {
public:
    CError* initChilds() override;
    bool make(const CAudioFilterValues& values, double sampleRate, CAudioFilterList& list) const override;
    // The values of the first item's generator.
    int32_t valueCount() const override;
    const char* valueName(int32_t i) const override;

    const CArray<const CAudioFilterSerialItem*>& items() const { return m_items; }

private:
    CArray<const CAudioFilterSerialItem*> m_items;
};

}  // namespace orl
