#include "Core/CDefStringTable.h"

#include "Core/CError.h"
#include "Core/CPoolAllocator.h"
#include "Core/CUtf8.h"

namespace orl {

CError* CDefStringTable::create(CDefStringTable*& out, const uint8_t* stringPart, uint32_t count, uint32_t size,
                                uint8_t* ownedCopy) {
    out = nullptr;
    CDefStringTable* table = new CDefStringTable();
    table->m_offsets = stringPart;
    table->m_count = count;
    table->m_size = size;
    table->m_ownedCopy = ownedCopy;
    if (count > 65536 || static_cast<uint64_t>(count) * 4 > size) {
        table->release();
        return ORL_ERROR(nullptr, CString(),
                         "@orlstr_CDefStringTable_create_BadCount Invalid string count %1 for a string part of %2 bytes.",
                         CString::fromInt(count), CString::fromInt(size));
    }
    table->m_pool = stringPart + 4 * count;
    if (CError* err = table->decodeAll()) {
        table->release();
        return ORL_PASS(err, CString());
    }
    out = table;
    return nullptr;
}

CDefStringTable::~CDefStringTable() {
    if (m_ownedCopy) CPoolAllocator::release(m_ownedCopy);
}

void CDefStringTable::release() {
    if (m_refs.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
}

CError* CDefStringTable::decodeAll() {
    m_strings.reserve(static_cast<int32_t>(m_count));
    const uint8_t* end = m_offsets + m_size;
    for (uint32_t i = 0; i < m_count; ++i) {
        const uint8_t* o = m_offsets + 4 * i;
        const uint32_t offset =
            static_cast<uint32_t>(o[0]) | (static_cast<uint32_t>(o[1]) << 8) | (static_cast<uint32_t>(o[2]) << 16) |
            (static_cast<uint32_t>(o[3]) << 24);
        // An offset must land in the pool, and the text must end before the string part does.
        const uint8_t* text = m_offsets + offset;
        const uint8_t* stop = offset >= 4 * m_count && offset < m_size ? text : end;
        while (stop < end && *stop) ++stop;
        if (stop >= end) {
            return ORL_ERROR(nullptr, CString(),
                             "@orlstr_CDefStringTable_decode_BadOffset Invalid offset %1 of string %2 (string part "
                             "is %3 bytes).",
                             CString::fromInt(offset), CString::fromInt(i), CString::fromInt(m_size));
        }
        m_strings.add(decode(text, static_cast<uint32_t>(stop - text)));
    }
    return nullptr;
}

CString CDefStringTable::decode(const uint8_t* text, uint32_t length) {
    bool ascii = true;
    for (uint32_t i = 0; i < length && ascii; ++i) ascii = text[i] < 128;
    if (ascii) return CString(reinterpret_cast<const char*>(text), static_cast<int32_t>(length));

    // At most one unit per byte; names and values are short, so the stack holds most of them.
    char16_t local[256];
    char16_t* units = length <= 256 ? local : static_cast<char16_t*>(CPoolAllocator::allocate(2 * length));
    char16_t highest = 0;
    const uint32_t count = CUtf8::decode(text, length, units, highest);
    CString out(units, static_cast<int32_t>(count));
    if (units != local) CPoolAllocator::release(units);
    return out;
}

}  // namespace orl
