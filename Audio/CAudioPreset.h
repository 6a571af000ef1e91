#pragma once
#include <cstdint>

#include "Core/CByteBuffer.h"
#include "Core/CInputStream.h"
#include "Core/CMap.h"
#include "Core/CString.h"

namespace orl {

class CError;
class COutputStream;

// A named set of stored parameter values: key (the parameter's name relative to its registry's
// hierarchy, "io-params.grouping") to the opaque bytes of the parameter's stored form. The name
// is the registry's id, ":" and the text that users see ("qwpc:Default").
//
// Record: string name, u32 item count, then per item string key, u32 size and the bytes; keys
// in map order. As a file, chunk or resource the record is a compressed block with id "aprs".
class CAudioPreset {
public:
    using TItems = CMap<CString, CByteBuffer>;
    static constexpr uint32_t kBlockId = CInputStream::blockId("aprs");

    CAudioPreset() = default;
    explicit CAudioPreset(const CString& name) : m_name(name) {}

    const CString& name() const { return m_name; }
    void setName(const CString& name) { m_name = name; }
    const TItems& items() const { return m_items; }
    int32_t count() const { return static_cast<int32_t>(m_items.size()); }
    const CByteBuffer* findItem(const CString& key) const;
    void setItem(const CString& key, const CByteBuffer& bytes) { m_items[key] = bytes; }
    void setItem(const CString& key, CByteBuffer&& bytes) { m_items[key] = static_cast<CByteBuffer&&>(bytes); }
    void removeItem(const CString& key) { m_items.erase(key); }
    // Drops the items; the name stays.
    void clearItems() { m_items.clear(); }

    // Splits a full name at its first ":" into the registry id and the text after it. A name
    // without ":" has an empty id and is all text.
    static void splitName(const CString& fullName, CString& outId, CString& outText);
    // The text after the first ":" (the whole name when there is none).
    CString visibleName() const;

    // The plain record. read replaces name and items only when the whole record was read.
    CError* read(CInputStream& in);
    CError* write(COutputStream& out) const;
    // The record inside a compressed block of id "aprs".
    CError* readCompressed(CInputStream& in);
    CError* writeCompressed(COutputStream& out) const;

    // Reads an item's bytes: u32 size, then the bytes, which are taken in pieces so that a
    // damaged size costs no more memory than the stream really holds.
    static CError* readBytes(CInputStream& in, CByteBuffer& out);

private:
    CString m_name;
    TItems m_items;
};

}  // namespace orl
