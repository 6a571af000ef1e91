#pragma once
#include <cstdint>

#include "Core/CArray.h"
#include "Core/CByteBuffer.h"
#include "Core/CMap.h"
#include "Core/CString.h"

namespace orl {

class CAudioParamDataItem;
class CError;
class CInputStream;
class COutputStream;

// The data table of a string or raw parameter: items by id, in id order. A new item takes the
// id after the last one handed out, so that an id never names two items in a table's life.
// The table owns its items; copies are deep.
class CAudioParamData {
public:
    using TItems = CMap<int32_t, CAudioParamDataItem*>;

    CAudioParamData();
    CAudioParamData(const CAudioParamData& other);
    CAudioParamData(CAudioParamData&& other) noexcept;
    CAudioParamData& operator=(const CAudioParamData& other);
    CAudioParamData& operator=(CAudioParamData&& other) noexcept;
    ~CAudioParamData();

    // Each adds a copy and returns the new id.
    int32_t addString(const CString& text);
    int32_t addRaw(const void* bytes, uint32_t size);
    int32_t addRaw(const CByteBuffer& bytes) { return addRaw(bytes.data(), bytes.size()); }
    int32_t addCopy(const CAudioParamDataItem& item);
    // Takes the item over.
    int32_t addItem(CAudioParamDataItem* item);
    // False when there is no such item.
    bool removeItem(int32_t id);
    void clear();

    const CAudioParamDataItem* findItem(int32_t id) const;
    // The text of a string item; false (and out empty) for a missing or raw item.
    bool getString(int32_t id, CString& out) const;
    // The bytes of a raw item, or null.
    const CByteBuffer* getRaw(int32_t id) const;
    int32_t count() const { return static_cast<int32_t>(m_items.size()); }
    int32_t lastId() const { return m_lastId; }
    const TItems& items() const { return m_items; }

    // Writes the items of the ids given, in that order, each once: u32 item count, then for each
    // item u32 id, u32 type, the item. An id without an item fails.
    CError* save(COutputStream& out, const CArray<int32_t>& ids) const;
    // Reads what save writes, replacing the table; ids are kept as read. On failure the table
    // keeps what it had.
    CError* load(CInputStream& in);

    // The id that a stored number names: the number rounded half away from zero. False when it
    // can't be an id.
    static bool idOf(double value, int32_t& id);
    // Lets the text converter read string items of a table; done by the first table made, and
    // again by whoever needs it back after a test swapped the reader.
    static void installTextReader();

private:
    int32_t nextId();

    TItems m_items;
    int32_t m_lastId = 0;
};

}  // namespace orl
