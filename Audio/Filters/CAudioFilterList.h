#pragma once
#include <cstdint>

#include "Audio/Filters/CAudioFilterDesc.h"

namespace orl {

// The filters a generator made, to run one after the other. A fixed capacity keeps making a
// list free of allocation.
class CAudioFilterList {
public:
    static constexpr int32_t kMaxFilters = 8;

    // A new entry at the end, or null when the list is full.
    CAudioFilterDesc* add() {
        if (m_count >= kMaxFilters) return nullptr;
        m_filters[m_count] = CAudioFilterDesc();
        return &m_filters[m_count++];
    }
    int32_t count() const { return m_count; }
    const CAudioFilterDesc& operator[](int32_t i) const { return m_filters[i]; }
    void clear() { m_count = 0; }

private:
    CAudioFilterDesc m_filters[kMaxFilters];
    int32_t m_count = 0;
};

}  // namespace orl
