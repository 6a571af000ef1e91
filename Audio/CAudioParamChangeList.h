#pragma once
#include <cstddef>
#include <cstdint>

#include "Audio/CAudioParamBatchList.h"
#include "Audio/CAudioParamChange.h"
#include "Platform/CLockFreeStack.h"

namespace orl {

class CAudioParam;

// Changes on their way to the audio-side storages, in the order they were made. Each entry
// holds the parameter and its own copy of the change record (numbers and data items included).
// Entries and lists come from the pool allocator, so that making, taking and freeing them
// costs no general allocation; an entry freed on the audio thread goes back to its pool.
//
// A list is also a batch: the changes of one undo step or preset collected through an undo
// context reach the collector as one list.
class CAudioParamChangeList : public CAudioParamBatchList {
public:
    // The base's link serves a stack of spent entries (see CAudioParamCollector) once the entry
    // has left every list.
    struct CEntry : CLockFreeStack::Node {
        CEntry() : CLockFreeStack::Node{nullptr} {}
        CAudioParam* param = nullptr;
        CAudioParamChange record;
        CEntry* next = nullptr;

        // Whether freeing the record gives data items back to the general heap.
        bool ownsItems() const { return record.data && record.data->count() > 0; }

        static void* operator new(size_t size);
        static void operator delete(void* p);
    };

    CAudioParamChangeList() = default;
    ~CAudioParamChangeList() override;
    CAudioParamChangeList(const CAudioParamChangeList&) = delete;
    CAudioParamChangeList& operator=(const CAudioParamChangeList&) = delete;

    static void* operator new(size_t size);
    static void operator delete(void* p);

    // An entry with a copy of record: its numbers and the items that they name.
    static CEntry* makeEntry(CAudioParam& param, const CAudioParamChange& record);
    // Fills a record with the layout, place and source of another, and copies of its numbers and
    // of the items that they name (a number that names no item becomes 0).
    static void copyRecord(CAudioParamChange& into, const CAudioParamChange& from);

    CEntry* head() const { return m_head; }
    int32_t count() const { return m_count; }
    bool isEmpty() const { return m_head == nullptr; }

    void appendEntry(CEntry* entry);
    // Merges the entry's change into the last earlier change of the same parameter and group,
    // when that is possible (see mergeInto); false leaves the list as it was.
    bool merge(const CEntry& entry);
    // Merges, freeing the entry, or appends it.
    void mergeOrAppend(CEntry* entry);
    // Takes over every entry of other, in order, as they are; other is left empty.
    void appendAll(CAudioParamChangeList& other);
    // Takes over every entry of other, each merged or appended; other is left empty.
    void mergeAll(CAudioParamChangeList& other);
    // Hands the entries over (first of the chain) and leaves the list empty.
    CEntry* detach();

    // CAudioParamBatchList: takes over a clone made by the parameter.
    void append(CAudioParam& param, CAudioParamChange* record) override;

    // Merges `next`, a later change of the same parameter and group, into `into`: only with the
    // same layout and element ranges that overlap or touch. The result covers both ranges, the
    // later values win where they overlap; a later change that ends its group ends the result
    // there. For string and raw data the later items enter the table of `into` under new ids,
    // and the items of elements that are overwritten or fall away leave it.
    static bool mergeInto(CAudioParamChange& into, const CAudioParamChange& next);

private:
    CEntry* m_head = nullptr;
    CEntry* m_tail = nullptr;
    int32_t m_count = 0;
};

}  // namespace orl
