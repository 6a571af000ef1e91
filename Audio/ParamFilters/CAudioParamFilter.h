#pragma once
#include <cstdint>

#include "Audio/CAudioParamFilterInput.h"
#include "Audio/CAudioParamUndoContext.h"
#include "Core/CString.h"

namespace orl {

class CAudioParam;
class CAudioParamChange;
class CAudioParamLockContext;
class CError;

// A parameter computed from others. The filter is attached to each of its sources; whenever one
// of them changes, the filter locks all its sources and destinations and writes the results as
// ordinary changes of the destinations, which then reach the audio side, listeners and further
// filters like any other change.
//
// Life cycle, as the owner sees it: make the filter (a definition's createFilter), init it with
// the resolved parameters, attach it; detach it before either the filter or one of its
// parameters goes away, then delete it. The filter owns none of its parameters.
class CAudioParamFilter : public CAudioParamFilterInput {
public:
    // Room for sources and for destinations, each.
    static constexpr int32_t kMaxParams = 9;

    CAudioParamFilter() = default;
    CAudioParamFilter(const CAudioParamFilter&) = delete;
    CAudioParamFilter& operator=(const CAudioParamFilter&) = delete;

    // Virtual operations, in slot order.
    ~CAudioParamFilter() override = default;
    // Takes the parameters: exactly getSrcCount sources and getDstCount destinations, none null.
    virtual CError* init(CAudioParam* const* srcs, int32_t nSrc, CAudioParam* const* dsts, int32_t nDst);
    // How many sources and destinations the filter works with.
    virtual int32_t getSrcCount() const { return 1; }
    virtual int32_t getDstCount() const { return 1; }
    // Recomputes the destinations after record changed a source. The contexts hold the sources
    // and the destinations, in list order. The base runs compute over the changed elements of
    // the record's group and sends each destination one change of them.
    virtual void apply(CAudioParamLockContext* const* srcLocks, CAudioParamLockContext* const* dstLocks,
                       const CAudioParamChange& record, const CAudioParamUndoContext& undo);
    // Writes the results of one element, one per destination from the first, to out (room for
    // kMaxParams); returns how many it wrote. Destinations after those keep their value.
    virtual int32_t compute(CAudioParamLockContext* const* srcLocks, int32_t group, int32_t element, double* out);

    // CAudioParamFilterInput: a source changed. Locks every source and destination below the
    // caller's context, then applies with the caller's batch list and applyNow but no undo
    // record: the filter's results follow from the sources, whose own changes are undone.
    void feed(CAudioParam& source, const CAudioParamChange& record, CAudioParamLockContext& lock,
              const CAudioParamUndoContext& undo) final;

    // Feeds the filter from each source and brings the destinations up to date at once from
    // every source that is already defined: one run as for a new layout, then one per group.
    // Sources defined later update the destinations through their allocation.
    void attach(const CAudioParamUndoContext& undo = CAudioParamUndoContext());
    // Stops feeding; the destinations keep their values.
    void detach();
    bool isAttached() const { return m_attached; }

    int32_t srcCount() const { return m_srcCount; }
    int32_t dstCount() const { return m_dstCount; }
    CAudioParam* src(int32_t i) const { return m_srcs[i]; }
    CAudioParam* dst(int32_t i) const { return m_dsts[i]; }

    // The name that errors carry: the definition that made the filter.
    const CString& name() const { return m_name; }
    void setName(const CString& name) { m_name = name; }

protected:
    // One change of a single number to a destination: element 0 of group 0 takes value, and the
    // group ends there. The form of the bypass flags that the own-apply filters write.
    static void changeFlag(CAudioParamLockContext& dstLock, double value, const CAudioParamChange& cause,
                           const CAudioParamUndoContext& undo);

private:
    CString m_name;
    CAudioParam* m_srcs[kMaxParams] = {};
    CAudioParam* m_dsts[kMaxParams] = {};
    int32_t m_srcCount = 0;
    int32_t m_dstCount = 0;
    bool m_attached = false;
    // Set while apply runs, under the locks of every source and destination: a chain of filters
    // that leads back here stops instead of recursing without end.
    bool m_applying = false;
};

}  // namespace orl
