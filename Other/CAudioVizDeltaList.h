#pragma once
#include <cstdint>

#include "Core/CArray.h"
#include "Core/CPoolAllocator.h"

namespace orl {

class CAudioVizEntry;

// Changes of listener counts on their way to the audio thread, at most one per entry (a later
// change of the same entry is merged into it). Made by listening threads under the environment
// lock and freed by the audio thread, both through the size-class pools.
class CAudioVizDeltaList {
public:
    struct CDelta {
        CAudioVizEntry* entry = nullptr;
        int32_t delta = 0;
    };

    void add(CAudioVizEntry* entry, int32_t delta) {
        for (CDelta& d : m_items) {
            if (d.entry == entry) {
                d.delta += delta;
                return;
            }
        }
        m_items.add(CDelta{entry, delta});
    }
    int32_t count() const { return m_items.count(); }
    const CDelta& operator[](int32_t i) const { return m_items[i]; }

    static void* operator new(size_t size) { return CPoolAllocator::allocate(size); }
    static void operator delete(void* p) { CPoolAllocator::release(p); }

private:
    CArray<CDelta, 4> m_items;
};

}  // namespace orl
