#include "Audio/CAudioParamData.h"

#include <cmath>
#include <limits>

#include "Audio/CAudioParamDataItem.h"
#include "Audio/CAudioParamDataItemRaw.h"
#include "Audio/CAudioParamDataItemString.h"
#include "Audio/Converters/CAudioParamConverterText.h"
#include "Core/CError.h"
#include "Core/CInputStream.h"
#include "Core/COutputStream.h"

namespace orl {

namespace {

bool readTableText(const CAudioParamData* table, int32_t id, CString& out) {
    return table && table->getString(id, out);
}

void deleteItems(CAudioParamData::TItems& items) {
    for (auto& entry : items) delete entry.second;
    items.clear();
}

void copyItems(const CAudioParamData::TItems& from, CAudioParamData::TItems& to) {
    for (const auto& entry : from) to.emplace(entry.first, entry.second->clone());
}

}  // namespace

void CAudioParamData::installTextReader() { CAudioParamConverterText::setDataTextReader(&readTableText); }

CAudioParamData::CAudioParamData() {
    static const bool installed = (installTextReader(), true);
    (void)installed;
}

CAudioParamData::CAudioParamData(const CAudioParamData& other) : m_lastId(other.m_lastId) {
    copyItems(other.m_items, m_items);
}

CAudioParamData::CAudioParamData(CAudioParamData&& other) noexcept
    : m_items(static_cast<TItems&&>(other.m_items)), m_lastId(other.m_lastId) {
    other.m_items.clear();
}

CAudioParamData& CAudioParamData::operator=(const CAudioParamData& other) {
    if (this == &other) return *this;
    deleteItems(m_items);
    copyItems(other.m_items, m_items);
    m_lastId = other.m_lastId;
    return *this;
}

CAudioParamData& CAudioParamData::operator=(CAudioParamData&& other) noexcept {
    if (this == &other) return *this;
    deleteItems(m_items);
    m_items.swap(other.m_items);
    m_lastId = other.m_lastId;
    return *this;
}

CAudioParamData::~CAudioParamData() { deleteItems(m_items); }

int32_t CAudioParamData::nextId() {
    // After the last possible id, the search starts again from the bottom for a free one.
    int32_t id = m_lastId < std::numeric_limits<int32_t>::max() ? m_lastId + 1 : 1;
    while (m_items.count(id) != 0) id = id < std::numeric_limits<int32_t>::max() ? id + 1 : 1;
    m_lastId = id;
    return id;
}

int32_t CAudioParamData::addString(const CString& text) { return addItem(new CAudioParamDataItemString(text)); }

int32_t CAudioParamData::addRaw(const void* bytes, uint32_t size) {
    return addItem(new CAudioParamDataItemRaw(bytes, size));
}

int32_t CAudioParamData::addCopy(const CAudioParamDataItem& item) { return addItem(item.clone()); }

int32_t CAudioParamData::addItem(CAudioParamDataItem* item) {
    const int32_t id = nextId();
    m_items.emplace(id, item);
    return id;
}

bool CAudioParamData::removeItem(int32_t id) {
    auto it = m_items.find(id);
    if (it == m_items.end()) return false;
    delete it->second;
    m_items.erase(it);
    return true;
}

void CAudioParamData::clear() { deleteItems(m_items); }

const CAudioParamDataItem* CAudioParamData::findItem(int32_t id) const {
    auto it = m_items.find(id);
    return it == m_items.end() ? nullptr : it->second;
}

bool CAudioParamData::getString(int32_t id, CString& out) const {
    const auto* item = dynamic_cast<const CAudioParamDataItemString*>(findItem(id));
    if (!item) {
        out.clear();
        return false;
    }
    out = item->text();
    return true;
}

const CByteBuffer* CAudioParamData::getRaw(int32_t id) const {
    const auto* item = dynamic_cast<const CAudioParamDataItemRaw*>(findItem(id));
    return item ? &item->bytes() : nullptr;
}

bool CAudioParamData::idOf(double value, int32_t& id) {
    const double r = value >= 0.0 ? std::floor(value + 0.5) : -std::floor(0.5 - value);
    if (!(r >= static_cast<double>(std::numeric_limits<int32_t>::min()) &&
          r <= static_cast<double>(std::numeric_limits<int32_t>::max()))) {
        return false;
    }
    id = static_cast<int32_t>(r);
    return true;
}

CError* CAudioParamData::save(COutputStream& out, const CArray<int32_t>& ids) const {
    CError* err = out.writeUInt32(static_cast<uint32_t>(ids.count()));
    for (int32_t i = 0; !err && i < ids.count(); ++i) {
        const CAudioParamDataItem* item = findItem(ids[i]);
        if (!item) {
            return ORL_ERROR(nullptr, CString::empty(),
                             "@orlstr_CAudioParamData_save_NoItem No data item with id %1.", CString::fromInt(ids[i]));
        }
        err = out.writeUInt32(static_cast<uint32_t>(ids[i]));
        if (!err) err = out.writeUInt32(static_cast<uint32_t>(item->getType()));
        if (!err) err = item->save(out);
    }
    return err ? ORL_PASS(err, CString::empty()) : nullptr;
}

CError* CAudioParamData::load(CInputStream& in) {
    uint32_t count = 0;
    if (CError* err = in.readUInt32(count)) return ORL_PASS(err, CString::empty());
    TItems items;
    int32_t lastId = 0;
    // The count isn't trusted: the items are read one by one until the stream runs out.
    for (uint32_t i = 0; i < count; ++i) {
        uint32_t id = 0;
        uint32_t type = 0;
        CError* err = in.readUInt32(id);
        if (!err) err = in.readUInt32(type);
        if (err) {
            deleteItems(items);
            return ORL_PASS(err, CString::empty());
        }
        CAudioParamDataItem* item = CAudioParamDataItem::create(static_cast<int32_t>(type));
        if (!item) {
            deleteItems(items);
            return ORL_ERROR(nullptr, CString::empty(),
                             "@orlstr_CAudioParamData_load_TypeError Unknown data type %1 encountered",
                             CString::fromInt(type));
        }
        if ((err = item->load(in))) {
            delete item;
            deleteItems(items);
            return ORL_PASS(err, CString::empty());
        }
        const int32_t key = static_cast<int32_t>(id);
        // A repeated id keeps the later item.
        auto found = items.find(key);
        if (found != items.end()) {
            delete found->second;
            found->second = item;
        } else {
            items.emplace(key, item);
        }
        if (key > lastId) lastId = key;
    }
    deleteItems(m_items);
    m_items.swap(items);
    if (lastId > m_lastId) m_lastId = lastId;
    return nullptr;
}

}  // namespace orl
