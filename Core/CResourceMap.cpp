#include "Core/CResourceMap.h"

#include "Core/CMap.h"
#include "Platform/CCriticalSection.h"

namespace orl {

namespace {

struct Entry {
    const uint8_t* data;
    uint32_t size;
};

struct Registry {
    CCriticalSection lock;
    CMap<CString, Entry> entries;

    Registry() { add(orlResourceTable()); }

    // The caller holds the lock (or is the constructor).
    void add(const CResourceRecord* table) {
        if (!table) return;
        for (const CResourceRecord* r = table; r->block; ++r) {
            const uint8_t* b = r->block;
            const uint32_t size = static_cast<uint32_t>(b[0]) | static_cast<uint32_t>(b[1]) << 8 |
                                  static_cast<uint32_t>(b[2]) << 16 | static_cast<uint32_t>(b[3]) << 24;
            entries[CString(r->name ? r->name : "")] = Entry{b + 4, size};
        }
    }
};

Registry& registry() {
    static Registry instance;
    return instance;
}

}  // namespace

bool CResourceMap::find(const CString& name, const uint8_t*& data, uint32_t& size) {
    Registry& r = registry();
    CCriticalSectionLock hold(r.lock);
    const auto it = r.entries.find(name);
    if (it == r.entries.end()) return false;
    data = it->second.data;
    size = it->second.size;
    return true;
}

void CResourceMap::registerTable(const CResourceRecord* table) {
    Registry& r = registry();
    CCriticalSectionLock hold(r.lock);
    r.add(table);
}

}  // namespace orl
