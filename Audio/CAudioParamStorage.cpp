#include "Audio/CAudioParamStorage.h"

#include "Audio/CAudioParamChange.h"
#include "Audio/CAudioParamDataItem.h"
#include "Audio/CAudioParamDataItemString.h"
#include "Core/CError.h"
#include "Core/CInputStream.h"
#include "Core/COutputStream.h"

namespace orl {

namespace {

constexpr int32_t kNumeric = 0;
constexpr int32_t kMaxDataType = 2;

CString num(int64_t v) { return CString::fromInt(v); }

}  // namespace

// ---- layout ----

bool CAudioParamStorage::isGoodLayout(int32_t elementSize, int32_t dataType) {
    if (elementSize < 1 || elementSize > kMaxElementSize) return false;
    if (dataType < kNumeric || dataType > kMaxDataType) return false;
    return dataType == kNumeric || elementSize == 1;
}

bool CAudioParamStorage::setLayout(int32_t elementSize, int32_t dataType, bool singleGroup, bool singleElement) {
    if (!isGoodLayout(elementSize, dataType)) return false;
    invalidate();
    m_elementSize = elementSize;
    m_dataType = dataType;
    m_singleGroup = singleGroup;
    m_singleElement = singleElement;
    m_valid = true;
    return true;
}

void CAudioParamStorage::clear() {
    m_groups.clear();
    m_elementCounts.clear();
    m_data.clear();
}

void CAudioParamStorage::invalidate() {
    clear();
    m_defaults.clear();
    m_defaultData.clear();
    m_elementSize = 1;
    m_dataType = kNumeric;
    m_singleGroup = false;
    m_singleElement = false;
    m_valid = false;
}

bool CAudioParamStorage::hasLayout(int32_t elementSize, int32_t dataType, bool singleGroup,
                                   bool singleElement) const {
    return m_valid && m_elementSize == elementSize && m_dataType == dataType && m_singleGroup == singleGroup &&
           m_singleElement == singleElement;
}

bool CAudioParamStorage::hasSameLayout(const CAudioParamStorage& other) const {
    return other.m_valid && hasLayout(other.m_elementSize, other.m_dataType, other.m_singleGroup, other.m_singleElement);
}

// ---- reading ----

double CAudioParamStorage::defaultOf(int32_t element, double fallback) const {
    const int32_t defaults = defaultCount();
    if (element >= 0 && element < defaults) return m_defaults[element * m_elementSize];
    return defaults > 0 ? m_defaults[0] : fallback;
}

const double* CAudioParamStorage::findElement(int32_t group, int32_t element, bool* fromDefaults) const {
    if (fromDefaults) *fromDefaults = false;
    if (!m_valid) return nullptr;
    const int32_t g = m_singleGroup ? 0 : group;
    const int32_t e = m_singleElement ? 0 : element;
    if (g >= 0 && g < m_groups.count() && e >= 0 && e < m_elementCounts[g]) {
        return m_groups[g].data() + static_cast<int64_t>(e) * m_elementSize;
    }
    const int32_t defaults = defaultCount();
    if (defaults == 0) return nullptr;
    if (fromDefaults) *fromDefaults = true;
    return m_defaults.data() + (e >= 0 && e < defaults ? static_cast<int64_t>(e) * m_elementSize : 0);
}

double CAudioParamStorage::getNumber(int32_t group, int32_t element, int32_t index, double fallback) const {
    if (index < 0 || index >= m_elementSize) return fallback;
    const double* p = findElement(group, element, nullptr);
    return p ? p[index] : fallback;
}

const double* CAudioParamStorage::groupNumbers(int32_t group) const {
    if (group < 0 || group >= m_groups.count() || m_elementCounts[group] == 0) return nullptr;
    return m_groups[group].data();
}

int32_t CAudioParamStorage::elementCount(int32_t group) const {
    return group >= 0 && group < m_elementCounts.count() ? m_elementCounts[group] : 0;
}

double CAudioParamStorage::value(int32_t group, int32_t element) const {
    return m_groups[group][element * m_elementSize];
}

int32_t CAudioParamStorage::defaultCount() const { return m_defaults.count() / m_elementSize; }

double CAudioParamStorage::defaultValue(int32_t index) const { return m_defaults[index * m_elementSize]; }

// ---- defaults ----

void CAudioParamStorage::setDefaults(const double* numbers, int32_t count, const CAudioParamData* table) {
    m_defaults.clear();
    m_defaultData.clear();
    const int32_t whole = count > 0 && numbers ? count - count % m_elementSize : 0;
    m_defaults.reserve(whole);
    for (int32_t i = 0; i < whole; ++i) {
        if (isNumeric()) {
            m_defaults.add(numbers[i]);
            continue;
        }
        int32_t id = 0;
        const CAudioParamDataItem* item =
            table && CAudioParamData::idOf(numbers[i], id) ? table->findItem(id) : nullptr;
        CAudioParamDataItem* copy = item ? item->clone() : CAudioParamDataItem::create(m_dataType);
        m_defaults.add(m_defaultData.addItem(copy));
    }
}

void CAudioParamStorage::addDefaultItem(const CAudioParamDataItem& item) {
    if (isNumeric() || item.getType() != m_dataType) return;
    m_defaults.add(m_defaultData.addCopy(item));
}

// ---- string and raw data ----

const CAudioParamDataItem* CAudioParamStorage::findElementItem(int32_t group, int32_t element) const {
    if (isNumeric()) return nullptr;
    bool fromDefaults = false;
    const double* p = findElement(group, element, &fromDefaults);
    int32_t id = 0;
    if (!p || !CAudioParamData::idOf(*p, id)) return nullptr;
    return (fromDefaults ? m_defaultData : m_data).findItem(id);
}

bool CAudioParamStorage::getText(int32_t group, int32_t element, CString& out) const {
    const auto* item = dynamic_cast<const CAudioParamDataItemString*>(findElementItem(group, element));
    if (!item) {
        out.clear();
        return false;
    }
    out = item->text();
    return true;
}

void CAudioParamStorage::copyElementTo(int32_t group, int32_t element, CAudioParamChange& record) const {
    if (!isNumeric()) {
        const CAudioParamDataItem* item = findElementItem(group, element);
        CAudioParamDataItem* copy = item ? item->clone() : CAudioParamDataItem::create(m_dataType);
        record.addNumber(record.ownData().addItem(copy));
        return;
    }
    const double* p = findElement(group, element, nullptr);
    for (int32_t i = 0; i < m_elementSize; ++i) record.addNumber(p ? p[i] : 0.0);
}

void CAudioParamStorage::copyDefaultTo(int32_t element, CAudioParamChange& record) const {
    const int32_t defaults = defaultCount();
    const double* p = defaults == 0 ? nullptr
                                    : m_defaults.data() + (element >= 0 && element < defaults
                                                               ? static_cast<int64_t>(element) * m_elementSize
                                                               : 0);
    if (!isNumeric()) {
        int32_t id = 0;
        const CAudioParamDataItem* item = p && CAudioParamData::idOf(*p, id) ? m_defaultData.findItem(id) : nullptr;
        CAudioParamDataItem* copy = item ? item->clone() : CAudioParamDataItem::create(m_dataType);
        record.addNumber(record.ownData().addItem(copy));
        return;
    }
    for (int32_t i = 0; i < m_elementSize; ++i) record.addNumber(p ? p[i] : 0.0);
}

// ---- changes ----

int32_t CAudioParamStorage::addItemCopy(const CAudioParamData* table, double id) {
    int32_t key = 0;
    const CAudioParamDataItem* item = table && CAudioParamData::idOf(id, key) ? table->findItem(key) : nullptr;
    // An item of the other kind would break readers that go by the parameter's type.
    if (item && item->getType() != m_dataType) item = nullptr;
    return m_data.addItem(item ? item->clone() : CAudioParamDataItem::create(m_dataType));
}

void CAudioParamStorage::removeElementItem(int32_t group, int32_t element) {
    int32_t id = 0;
    if (CAudioParamData::idOf(m_groups[group][element], id)) m_data.removeItem(id);
}

void CAudioParamStorage::resizeGroup(int32_t group, int32_t elements) {
    CArray<double>& numbers = m_groups[group];
    const int32_t want = elements * m_elementSize;
    numbers.reserve(want);
    while (numbers.count() > want) numbers.removeLast();
    while (numbers.count() < want) numbers.add(0.0);
    m_elementCounts[group] = elements;
}

bool CAudioParamStorage::apply(const CAudioParamChange& record) {
    if (record.group == CAudioParamChange::kWholeParam) {
        if (!setLayout(record.elementSize, record.dataType, record.singleGroup, record.singleElement)) return false;
        setDefaults(record.numbers, record.numberCount(), record.data);
        return true;
    }
    if (!record.hasLayoutOf(*this)) return false;
    const int32_t group = m_singleGroup ? 0 : record.group;
    int32_t start = record.start;
    int32_t count = record.count;
    if (m_singleElement) {
        // The one element is element 0, wherever the change says it starts.
        start = 0;
        if (count > 1) count = 1;
    }
    if (group < 0 || group >= kMaxGroups || start < 0 || count < 0 || start > kMaxElements - count) return false;
    if (count > 0 && !record.numbers) return false;

    while (m_groups.count() <= group) {
        m_groups.emplace();
        m_elementCounts.add(0);
    }
    // Elements up to the start that the group lacks take their defaults.
    const int32_t had = m_elementCounts[group];
    if (start > had) {
        resizeGroup(group, start);
        const int32_t defaults = defaultCount();
        for (int32_t e = had; e < start; ++e) {
            const int32_t d = e < defaults ? e : 0;
            double* to = m_groups[group].data() + static_cast<int64_t>(e) * m_elementSize;
            if (!isNumeric()) {
                to[0] = addItemCopy(defaults > 0 ? &m_defaultData : nullptr, defaults > 0 ? m_defaults[d] : 0.0);
            } else if (defaults > 0) {
                for (int32_t i = 0; i < m_elementSize; ++i) to[i] = m_defaults[d * m_elementSize + i];
            }
        }
    }
    const int32_t before = m_elementCounts[group];
    const int32_t end = start + count;
    if (end > before) resizeGroup(group, end);
    double* numbers = m_groups[group].data();
    if (isNumeric()) {
        const int32_t n = count * m_elementSize;
        double* to = numbers + static_cast<int64_t>(start) * m_elementSize;
        for (int32_t i = 0; i < n; ++i) to[i] = record.numbers[i];
    } else {
        for (int32_t i = 0; i < count; ++i) {
            const int32_t e = start + i;
            if (e < before) removeElementItem(group, e);
            numbers[e] = addItemCopy(record.data, record.numbers[i]);
        }
    }
    // A tail change ends the group where it ends.
    if (record.tail && end < m_elementCounts[group]) {
        if (!isNumeric()) {
            for (int32_t e = end; e < m_elementCounts[group]; ++e) removeElementItem(group, e);
        }
        resizeGroup(group, end);
    }
    return true;
}

// ---- stored form ----

CError* CAudioParamStorage::save(COutputStream& out, int32_t group) const {
    int32_t first = 0;
    int32_t last = m_groups.count();
    uint32_t groups = static_cast<uint32_t>(m_groups.count());
    if (group >= 0) {
        first = m_singleGroup ? 0 : group;
        last = first + 1;
        groups = 1;
    }
    CError* err = out.writeUInt32(kVersion);
    if (!err) err = out.writeInt32(m_elementSize);
    if (!err) err = out.writeInt32(m_dataType);
    if (!err) err = out.writeUInt32(groups);
    if (!err && !isNumeric()) {
        // The table comes first, with only the items that the saved groups use.
        CArray<int32_t> ids;
        for (int32_t g = first; g < last; ++g) {
            for (int32_t e = 0; e < elementCount(g); ++e) {
                int32_t id = 0;
                if (CAudioParamData::idOf(m_groups[g][e], id) && ids.indexOf(id) < 0) ids.add(id);
            }
        }
        err = m_data.save(out, ids);
    }
    for (int32_t g = first; !err && g < last; ++g) {
        const int32_t elements = elementCount(g);
        err = out.writeUInt32(static_cast<uint32_t>(elements));
        for (int32_t i = 0; !err && i < elements * m_elementSize; ++i) {
            if (isNumeric()) {
                err = out.writeDouble(m_groups[g][i]);
            } else {
                int32_t id = 0;
                CAudioParamData::idOf(m_groups[g][i], id);
                err = out.writeUInt32(static_cast<uint32_t>(id));
            }
        }
    }
    return err ? ORL_PASS(err, CString::empty()) : nullptr;
}

CError* CAudioParamStorage::load(CInputStream& in, int32_t group) {
    uint32_t version = 0;
    int32_t elementSize = 0;
    int32_t dataType = 0;
    uint32_t groups = 0;
    CError* err = in.readUInt32(version);
    if (err) return ORL_PASS(err, CString::empty());
    if (version != kVersion) {
        return ORL_ERROR(nullptr, CString::empty(),
                         "@orlstr_CAudioParamStorage_load_VersionError Unsupported data set version %1.", num(version));
    }
    err = in.readInt32(elementSize);
    if (!err) err = in.readInt32(dataType);
    if (err) return ORL_PASS(err, CString::empty());
    if (!m_valid && !isGoodLayout(elementSize, dataType)) {
        return ORL_ERROR(nullptr, CString::empty(),
                         "@orlstr_CAudioParamStorage_load_LayoutError Invalid storage layout (esize=%1, dtype=%2).",
                         num(elementSize), num(dataType));
    }
    if (m_valid && (elementSize != m_elementSize || dataType != m_dataType)) {
        return ORL_ERROR(nullptr, CString::empty(),
                         "@orlstr_CAudioParamStorage_load_FormatError Unsupported storage format (esize=%1, dtype=%2; "
                         "should be: esize=%3, dtype=%4).",
                         num(elementSize), num(dataType), num(m_elementSize), num(m_dataType));
    }
    if ((err = in.readUInt32(groups))) return ORL_PASS(err, CString::empty());
    if (groups > static_cast<uint32_t>(kMaxGroups)) {
        return ORL_ERROR(nullptr, CString::empty(),
                         "@orlstr_CAudioParamStorage_load_GroupCount Invalid group count %1.", num(groups));
    }
    const int32_t target = m_singleGroup ? 0 : group;
    if (group >= kMaxGroups) {
        return ORL_ERROR(nullptr, CString::empty(), "@orlstr_CAudioParamStorage_load_Group Invalid group %1.",
                         num(group));
    }

    // Everything is read aside first, so that a failure leaves the storage as it was.
    CAudioParamData table;
    if (dataType != kNumeric && (err = table.load(in))) return ORL_PASS(err, CString::empty());
    CArray<CArray<double>, 8> read;
    CArray<int32_t, 8> counts;
    // Every element gets a fresh item of its own, even where the stream shares one id.
    CAudioParamData fresh;
    for (uint32_t g = 0; g < groups; ++g) {
        uint32_t elements = 0;
        if ((err = in.readUInt32(elements))) return ORL_PASS(err, CString::empty());
        if (elements > static_cast<uint32_t>(kMaxElements)) {
            return ORL_ERROR(nullptr, CString::empty(),
                             "@orlstr_CAudioParamStorage_load_ElementCount Invalid element count %1.", num(elements));
        }
        CArray<double>& numbers = read.emplace();
        counts.add(static_cast<int32_t>(elements));
        // The count isn't trusted: numbers are added as they arrive.
        const uint32_t total = elements * static_cast<uint32_t>(elementSize);
        for (uint32_t i = 0; i < total; ++i) {
            if (dataType == kNumeric) {
                double v = 0.0;
                if ((err = in.readDouble(v))) return ORL_PASS(err, CString::empty());
                numbers.add(v);
                continue;
            }
            uint32_t id = 0;
            if ((err = in.readUInt32(id))) return ORL_PASS(err, CString::empty());
            const CAudioParamDataItem* item = table.findItem(static_cast<int32_t>(id));
            if (!item || item->getType() != dataType) {
                return ORL_ERROR(nullptr, CString::empty(),
                                 "@orlstr_CAudioParamStorage_load_UnknownItem Unknown data item id %1.", num(id));
            }
            numbers.add(fresh.addCopy(*item));
        }
    }

    if (!m_valid) setLayout(elementSize, dataType, false, false);
    if (group < 0) {
        clear();
        m_groups = static_cast<CArray<CArray<double>, 8>&&>(read);
        m_elementCounts = static_cast<CArray<int32_t, 8>&&>(counts);
        m_data = static_cast<CAudioParamData&&>(fresh);
        return nullptr;
    }
    while (m_groups.count() <= target) {
        m_groups.emplace();
        m_elementCounts.add(0);
    }
    if (!isNumeric()) {
        for (int32_t e = 0; e < m_elementCounts[target]; ++e) removeElementItem(target, e);
    }
    const int32_t elements = counts.isEmpty() ? 0 : counts[0];
    resizeGroup(target, elements);
    for (int32_t i = 0; i < elements * m_elementSize; ++i) {
        m_groups[target][i] = isNumeric() ? read[0][i] : addItemCopy(&fresh, read[0][i]);
    }
    return nullptr;
}

}  // namespace orl
