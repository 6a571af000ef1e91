#pragma once
#include <atomic>
#include <cstdint>

#include "Core/CArray.h"
#include "Core/CString.h"

namespace orl {

class CError;

// The strings of one compiled definition tree, shared by the loader and by every template that
// came from the tree; freed when the last of them lets go. Over a resource the offsets and pool
// are used in place; over a file the table owns its copy of them.
class CDefStringTable {
public:
    // stringPart: the offsets (4 bytes each) followed by the pool, `size` bytes in all.
    // ownedCopy: pool memory the table frees with itself, or null when the bytes stay valid.
    static CError* create(CDefStringTable*& out, const uint8_t* stringPart, uint32_t count, uint32_t size,
                          uint8_t* ownedCopy);

    void addRef() { m_refs.fetch_add(1, std::memory_order_relaxed); }
    void release();

    uint32_t count() const { return static_cast<uint32_t>(m_strings.count()); }
    bool has(uint32_t id) const { return id < count(); }
    const CString& get(uint32_t id) const { return m_strings[static_cast<int32_t>(id)]; }

    // Text with bytes of 128 and up is UTF-8 and becomes 16-bit text; the rest stays 8-bit.
    static CString decode(const uint8_t* text, uint32_t length);

private:
    CDefStringTable() = default;
    ~CDefStringTable();
    CError* decodeAll();

    std::atomic<int32_t> m_refs{1};
    const uint8_t* m_offsets = nullptr;
    const uint8_t* m_pool = nullptr;
    uint32_t m_count = 0;
    uint32_t m_size = 0;
    uint8_t* m_ownedCopy = nullptr;
    CArray<CString> m_strings;
};

}  // namespace orl
