#pragma once
#include <cstdint>

#include "Audio/CAudioParamData.h"
#include "Audio/CAudioParamReader.h"
#include "Core/CArray.h"

namespace orl {

class CAudioParamChange;
class CAudioParamDataItem;
class CError;
class CInputStream;
class COutputStream;

// The values of one parameter: groups across, elements down, `elementSize` numbers per element,
// and a list of default elements that stand in wherever the table has no value. String and raw
// values stand in the table as ids (as doubles) of items in the storage's data table, and the
// defaults of such a parameter as ids in a table of their own. The same layout is the stored
// form of a parameter's value (save, load).
//
// Readers on the audio thread go through getValue, which takes no lock: the audio-side storage
// has a single writer, the thread that runs blocks.
class CAudioParamStorage : public CAudioParamReader {
public:
    static constexpr uint32_t kVersion = 1;
    // Bounds of what a storage takes in, from a change or a stream: group bits must fit a
    // 32-bit mask, and a damaged size must not turn into a huge allocation.
    static constexpr int32_t kMaxGroups = 32;
    static constexpr int32_t kMaxElementSize = 256;
    static constexpr int32_t kMaxElements = 1 << 20;

    CAudioParamStorage() = default;
    CAudioParamStorage(const CAudioParamStorage&) = default;
    CAudioParamStorage(CAudioParamStorage&&) noexcept = default;
    CAudioParamStorage& operator=(const CAudioParamStorage&) = default;
    CAudioParamStorage& operator=(CAudioParamStorage&&) noexcept = default;
    ~CAudioParamStorage() override = default;

    // ---- layout ----
    // Empties the storage, defaults included, and gives it a layout: from here on it is valid.
    // A bad layout (element size outside 1..kMaxElementSize, unknown type, string or raw data
    // with more than one number per element) is refused and leaves the storage as it was.
    bool setLayout(int32_t elementSize, int32_t dataType, bool singleGroup, bool singleElement);
    static bool isGoodLayout(int32_t elementSize, int32_t dataType);
    // Drops the groups and their items; layout and defaults stay.
    void clear();
    // Back to the start: no layout, no values, no defaults.
    void invalidate();
    bool isValid() const { return m_valid; }
    int32_t elementSize() const { return m_elementSize; }
    int32_t dataType() const { return m_dataType; }
    bool isNumeric() const { return m_dataType == 0; }
    bool hasLayout(int32_t elementSize, int32_t dataType, bool singleGroup, bool singleElement) const;
    bool hasSameLayout(const CAudioParamStorage& other) const;

    // ---- reading ----
    // Number 0 of an element. Not valid: the fallback. Inside the table: the value. Else the
    // default of that element, or of element 0, or the fallback when there are no defaults.
    // A single-group storage reads group 0, a single-element one element 0.
    double getValue(int32_t group, int32_t element, double fallback) const {
        if (!m_valid) return fallback;
        const int32_t g = m_singleGroup ? 0 : group;
        const int32_t e = m_singleElement ? 0 : element;
        if (static_cast<uint32_t>(g) < static_cast<uint32_t>(m_groups.count()) &&
            static_cast<uint32_t>(e) < static_cast<uint32_t>(m_elementCounts[g])) {
            return m_groups[g].data()[e * m_elementSize];
        }
        return defaultOf(e, fallback);
    }
    // Number `index` of an element, with the same stand-ins.
    double getNumber(int32_t group, int32_t element, int32_t index, double fallback) const;
    // The numbers of a group, elementCount(group) * elementSize of them; null for none.
    const double* groupNumbers(int32_t group) const;

    // CAudioParamReader: the table as it stands, for the graph's modules.
    bool isSingleGroup() const override { return m_singleGroup; }
    bool isSingleElement() const override { return m_singleElement; }
    int32_t groupCount() const override { return m_groups.count(); }
    // 0 for a group outside the table.
    int32_t elementCount(int32_t group) const override;
    // Number 0 of an element inside the table.
    double value(int32_t group, int32_t element) const override;
    // Default elements, and number 0 of one of them.
    int32_t defaultCount() const override;
    double defaultValue(int32_t index) const override;

    // ---- defaults ----
    const CArray<double>& defaultNumbers() const { return m_defaults; }
    const CAudioParamData& defaultData() const { return m_defaultData; }
    // Replaces the defaults: `count` numbers, whole elements (a partial last element is
    // dropped). For string and raw data the numbers are ids of items in `table`, which are
    // copied; an id without an item gets an empty one.
    void setDefaults(const double* numbers, int32_t count, const CAudioParamData* table);
    // Appends one default element of string or raw data.
    void addDefaultItem(const CAudioParamDataItem& item);

    // ---- string and raw data ----
    const CAudioParamData& data() const { return m_data; }
    // The item of an element, with the stand-ins of getValue; null for numeric data or none.
    const CAudioParamDataItem* findElementItem(int32_t group, int32_t element) const;
    // The text of a string element; false (out empty) when there is none.
    bool getText(int32_t group, int32_t element, CString& out) const;

    // Appends an element, with the stand-ins of getValue, to a record's own numbers; for string
    // and raw data a copy of its item goes to the record's own table and its id to the numbers.
    void copyElementTo(int32_t group, int32_t element, CAudioParamChange& record) const;
    // Appends a default element (that element, or element 0) the same way.
    void copyDefaultTo(int32_t element, CAudioParamChange& record) const;

    // ---- changes ----
    // Applies a change record; false when it doesn't fit (not valid, other layout, bad range).
    // A change of the whole parameter takes its layout and makes its numbers the defaults.
    bool apply(const CAudioParamChange& record);

    // ---- stored form ----
    // Version, element size, data type, group count, then the groups (group -1: all of them,
    // else that one group alone). String and raw data write the items in use first.
    CError* save(COutputStream& out, int32_t group) const;
    // Reads what save writes. A valid storage takes only its own element size and data type; one
    // without layout takes the stream's. With group -1 the groups read replace all; with a group,
    // the first group read replaces that group. On failure the storage keeps what it had.
    CError* load(CInputStream& in, int32_t group);

private:
    // Number 0 of default element e, or of element 0; the fallback without defaults.
    double defaultOf(int32_t element, double fallback) const;
    // The numbers of an element after the stand-ins; null for none. fromDefaults tells which
    // table an id belongs to.
    const double* findElement(int32_t group, int32_t element, bool* fromDefaults) const;
    // A new item for the storage's table: a copy of the item that id names in table, or an
    // empty one.
    int32_t addItemCopy(const CAudioParamData* table, double id);
    void removeElementItem(int32_t group, int32_t element);
    void resizeGroup(int32_t group, int32_t elements);

    int32_t m_elementSize = 1;
    int32_t m_dataType = 0;
    bool m_singleGroup = false;
    bool m_singleElement = false;
    bool m_valid = false;
    CAudioParamData m_data;
    // One run of numbers per group, and the elements in each.
    CArray<CArray<double>, 8> m_groups;
    CArray<int32_t, 8> m_elementCounts;
    CArray<double> m_defaults;
    CAudioParamData m_defaultData;
};

}  // namespace orl
