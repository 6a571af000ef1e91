#include "Audio/ParamFilters/CAudioParamFilter.h"

#include <new>
#include <thread>

#include "Audio/CAudioParam.h"
#include "Audio/CAudioParamChange.h"
#include "Audio/CAudioParamLockContext.h"
#include "Audio/CAudioParamUndoContext.h"
#include "Core/CError.h"

namespace orl {

namespace {

// A filter with two sources is fed with the changed source already locked by its caller, and
// locks the other one after it; two threads changing the two sources at once would each wait for
// the other. So the other parameters are only tried for a while: when one stays held, this feed
// is given up, and the thread that holds it feeds the filter itself with both new values, since
// its own change has then already reached the parameter.
constexpr int32_t kLockAttempts = 20000;

// Lock contexts for every parameter of a filter, each the child of the one before, so that a
// parameter that the chain holds already is not entered twice. Released last-taken first.
struct CFilterLocks {
    static constexpr int32_t kCapacity = 2 * CAudioParamFilter::kMaxParams;

    CFilterLocks() = default;
    CFilterLocks(const CFilterLocks&) = delete;
    CFilterLocks& operator=(const CFilterLocks&) = delete;
    ~CFilterLocks() {
        for (int32_t i = count - 1; i >= 0; --i) contexts[i]->~CAudioParamLockContext();
    }

    // Null when another thread holds the parameter for too long (see kLockAttempts).
    CAudioParamLockContext* take(CAudioParam& param, CAudioParamLockContext* parent) {
        const bool held = parent && parent->covers(param);
        bool entered = false;
        for (int32_t i = 0; !held && i < kLockAttempts && !(entered = param.section().tryEnter()); ++i)
            std::this_thread::yield();
        if (!held && !entered) return nullptr;
        void* place = storage + count * sizeof(CAudioParamLockContext);
        contexts[count] = new (place) CAudioParamLockContext(param, parent);
        // The context entered the (recursive) section once more; the probe's entry goes.
        if (entered) param.section().leave();
        return contexts[count++];
    }

    alignas(CAudioParamLockContext) unsigned char storage[kCapacity * sizeof(CAudioParamLockContext)];
    CAudioParamLockContext* contexts[kCapacity] = {};
    int32_t count = 0;
};

CString numberText(int32_t n) { return CString::fromInt(n); }

}  // namespace

CError* CAudioParamFilter::init(CAudioParam* const* srcs, int32_t nSrc, CAudioParam* const* dsts, int32_t nDst) {
    const int32_t needSrc = getSrcCount();
    const int32_t needDst = getDstCount();
    if (nSrc < needSrc) {
        return ORL_ERROR(nullptr, m_name,
                         "@orlstr_CAudioParamFilter_init_NotEnoughSrcParams Not enough source parameters %1 defined in "
                         "the param filter (required %2).",
                         numberText(nSrc), numberText(needSrc));
    }
    // A name beyond what the filter reads would be ignored without a word; it is a mistake in
    // the definition.
    if (nSrc > needSrc || nSrc > kMaxParams) {
        return ORL_ERROR(nullptr, m_name,
                         "@orlstr_CAudioParamFilter_init_TooManySrcParams Too many source parameters %1 defined in the "
                         "param filter.",
                         numberText(nSrc));
    }
    if (nDst < needDst) {
        return ORL_ERROR(nullptr, m_name,
                         "@orlstr_CAudioParamFilter_init_NotEnoughDstParams Not enough destination parameters %1 "
                         "defined in the param filter (required %2).",
                         numberText(nDst), numberText(needDst));
    }
    if (nDst > needDst || nDst > kMaxParams) {
        return ORL_ERROR(nullptr, m_name,
                         "@orlstr_CAudioParamFilter_init_TooManyDstParams Too many destination parameters %1 defined "
                         "in the param filter.",
                         numberText(nDst));
    }
    // A missing parameter counts as one not given: the lists have no holes.
    int32_t validSrc = 0;
    while (validSrc < nSrc && srcs && srcs[validSrc]) ++validSrc;
    if (validSrc < nSrc) {
        return ORL_ERROR(nullptr, m_name,
                         "@orlstr_CAudioParamFilter_init_NotEnoughSrcParams Not enough source parameters %1 defined in "
                         "the param filter (required %2).",
                         numberText(validSrc), numberText(needSrc));
    }
    int32_t validDst = 0;
    while (validDst < nDst && dsts && dsts[validDst]) ++validDst;
    if (validDst < nDst) {
        return ORL_ERROR(nullptr, m_name,
                         "@orlstr_CAudioParamFilter_init_NotEnoughDstParams Not enough destination parameters %1 "
                         "defined in the param filter (required %2).",
                         numberText(validDst), numberText(needDst));
    }
    // New parameters: the old sources must not feed the filter any more.
    detach();
    for (int32_t i = 0; i < kMaxParams; ++i) {
        m_srcs[i] = i < nSrc ? srcs[i] : nullptr;
        m_dsts[i] = i < nDst ? dsts[i] : nullptr;
    }
    m_srcCount = nSrc;
    m_dstCount = nDst;
    return nullptr;
}

int32_t CAudioParamFilter::compute(CAudioParamLockContext* const*, int32_t, int32_t, double*) { return 0; }

void CAudioParamFilter::apply(CAudioParamLockContext* const* srcLocks, CAudioParamLockContext* const* dstLocks,
                              const CAudioParamChange& record, const CAudioParamUndoContext& undo) {
    const int32_t group = record.group == CAudioParamChange::kWholeParam ? 0 : record.group;
    const int32_t start = record.start < 0 ? 0 : record.start;
    int32_t count = record.count;
    if (record.tail) {
        int32_t longest = 0;
        for (int32_t s = 0; s < m_srcCount; ++s) {
            const CAudioParamStorage& ui = srcLocks[s]->param().uiStorage();
            const int32_t n = ui.elementCount(ui.isSingleGroup() ? 0 : group);
            if (n > longest) longest = n;
        }
        count = longest - start;
    }
    if (count < 0) count = 0;
    if (count == 0 && !record.tail) return;

    // Results build up per destination, element by element.
    CAudioParamChange changes[kMaxParams];
    for (int32_t d = 0; d < m_dstCount; ++d) {
        const CAudioParamStorage& ui = dstLocks[d]->param().uiStorage();
        changes[d].setTarget(ui, group, start, count, record.source);
        changes[d].tail = record.tail;
        changes[d].clearOwnNumbers();
    }
    double out[kMaxParams] = {};
    for (int32_t e = start; e < start + count; ++e) {
        int32_t written = compute(srcLocks, group, e, out);
        if (written < 0) written = 0;
        for (int32_t d = 0; d < m_dstCount; ++d) {
            const CAudioParamStorage& ui = dstLocks[d]->param().uiStorage();
            changes[d].addNumber(d < written ? out[d] : ui.getNumber(group, e, 0, 0.0));
            // Further numbers of a wider element are not the filter's business.
            for (int32_t i = 1; i < ui.elementSize(); ++i) changes[d].addNumber(ui.getNumber(group, e, i, 0.0));
        }
    }
    for (int32_t d = 0; d < m_dstCount; ++d) {
        CAudioParam& dst = dstLocks[d]->param();
        // Filters make numbers; a destination of text or raw data, or one not yet defined,
        // can't take them.
        if (!dst.uiStorage().isValid() || !dst.uiStorage().isNumeric()) continue;
        dst.change(changes[d], dstLocks[d], undo);
    }
}

void CAudioParamFilter::changeFlag(CAudioParamLockContext& dstLock, double value, const CAudioParamChange& cause,
                                   const CAudioParamUndoContext& undo) {
    CAudioParam& dst = dstLock.param();
    const CAudioParamStorage& ui = dst.uiStorage();
    if (!ui.isValid() || !ui.isNumeric()) return;
    CAudioParamChange flag;
    flag.setTarget(ui, 0, 0, 1, cause.source);
    flag.tail = true;
    flag.addNumber(value);
    for (int32_t i = 1; i < ui.elementSize(); ++i) flag.addNumber(ui.getNumber(0, 0, i, 0.0));
    dst.change(flag, &dstLock, undo);
}

void CAudioParamFilter::feed(CAudioParam&, const CAudioParamChange& record, CAudioParamLockContext& lock,
                             const CAudioParamUndoContext& undo) {
    if (m_srcCount == 0) return;
    CFilterLocks locks;
    CAudioParamLockContext* parent = &lock;
    for (int32_t s = 0; s < m_srcCount && parent; ++s) parent = locks.take(*m_srcs[s], parent);
    for (int32_t d = 0; d < m_dstCount && parent; ++d) parent = locks.take(*m_dsts[d], parent);
    if (!parent) return;
    // Every parameter of the filter is held from here on, which also guards m_applying.
    if (m_applying) return;
    m_applying = true;
    CAudioParamUndoContext own;
    own.batch = undo.batch;
    own.applyNow = undo.applyNow;
    apply(locks.contexts, locks.contexts + m_srcCount, record, own);
    m_applying = false;
}

void CAudioParamFilter::attach(const CAudioParamUndoContext& undo) {
    if (m_attached) return;
    m_attached = true;
    for (int32_t s = 0; s < m_srcCount; ++s) {
        CAudioParam& source = *m_srcs[s];
        CAudioParamLockContext lock(source);
        source.addFilter(this, &lock);
        if (!source.info()) continue;
        const CAudioParamStorage& ui = source.uiStorage();

        // As the source's allocation would have fed it: the layout with its defaults first...
        CAudioParamChange whole;
        whole.setLayoutOf(ui);
        whole.group = CAudioParamChange::kWholeParam;
        whole.count = ui.defaultCount();
        whole.numbers = ui.defaultNumbers().data();
        whole.data = &ui.defaultData();
        feed(source, whole, lock, undo);

        // ...then every group as it stands.
        for (int32_t g = 0; g < ui.groupCount(); ++g) {
            CAudioParamChange group;
            group.setLayoutOf(ui);
            group.group = g;
            group.count = ui.elementCount(g);
            group.tail = true;
            group.numbers = ui.groupNumbers(g);
            group.data = &ui.data();
            feed(source, group, lock, undo);
        }
    }
}

void CAudioParamFilter::detach() {
    if (!m_attached) return;
    m_attached = false;
    for (int32_t s = 0; s < m_srcCount; ++s) m_srcs[s]->removeFilter(this);
}

}  // namespace orl
