#pragma once
#include <atomic>
#include <cstdint>

#include "Audio/CAudioParamBindingPool.h"
#include "Audio/CAudioParamChangeSink.h"
#include "Audio/CAudioParamDefResolver.h"
#include "Audio/CAudioParamDeferredAutomation.h"
#include "Audio/CAudioParamLockObserver.h"
#include "Audio/CAudioParamReader.h"
#include "Audio/Processes/CAudioParamWriter.h"
#include "Core/CArray.h"
#include "Core/CMap.h"
#include "Core/CObject.h"
#include "Platform/CCriticalSection.h"
#include "Platform/CLockFreeStack.h"

namespace orl {

class CAppData;
class CAudioEnv;
class CAudioParamFilter;
class CAudioParamFilterDef;
class CSharedParam;
class CAudioExtParamHostBridge;
class CAudioParam;
class CAudioParamChangeList;
class CAudioParamInfo;
class CAudioParamLockContext;
class CAudioParamNode;
class CAudioParamRegistryLink;
struct CAudioParamUndoContext;
class CAudioParamStorage;
struct CAudioParamBinding;

// The one owner of the run-time parameters of a plug-in instance (tag "audio:param-collector",
// attribute `env`: the path of the instance's CAudioEnv). It finds a parameter by full name
// after remaps and creates what nobody has created yet, hands parameters to the registries,
// binds them to module inputs, and moves their changes from the threads that make them to the
// audio thread.
//
// Locks: a parameter's own lock, then the environment lock, in that order. The collector lock
// (names), the binding lock (bindings and their pool) and the small lock (lock counts and
// deferred host notifications) are leaves. The audio thread takes the environment lock once a
// block to take the change list, and only by spinning.
class CAudioParamCollector : public CObject,
                             public CAudioParamHost,
                             public CAudioParamWriter,
                             public CAudioParamChangeSink,
                             public CAudioParamLockObserver {
public:
    CAudioParamCollector();
    ~CAudioParamCollector() override;

    // Finds the environment named by `env`.
    CError* init() override;
    CAudioEnv* env() const { return m_env; }

    // ---- names ----
    // The parameter under a name, after remaps; made (without definition) when nobody has asked
    // for it before, and then, once the collector is finished, offered to the registries.
    CAudioParam* getParam(const CString& name);
    // The name that remaps lead to from name (name itself when it has none).
    CString remapped(const CString& name) const;
    bool isRemapped(const CString& name) const;
    // Enters an alias: from now on `from` names what `to` names.
    void addRemap(const CString& from, const CString& to);
    int32_t paramCount() const;

    // ---- registries and definitions ----
    void addRegistry(CAudioParamRegistryLink* registry);
    void removeRegistry(CAudioParamRegistryLink* registry);
    // The registry whose registryName is name, or null.
    CAudioParamRegistryLink* findRegistry(const CString& name);
    // Tells the registries that took param of a control's hand edit of a group (see
    // CAudioParamRegistryLink::markEdited). With param locked.
    void markEdited(const CAudioParam& param, int32_t group, const CAudioParamUndoContext& undo);
    // Once, at the end of the set-up: offers every parameter in name order, then runs the first
    // activation of each registry.
    void finish();
    bool isFinished() const { return m_finished.load(std::memory_order_acquire); }
    // Gives a parameter its definition: the enumerating registry that the definition names
    // (numbers of one element only), then the parameter's allocation.
    void allocateParam(CAudioParam& param, const CAudioParamInfo& info, CAudioParamLockContext* lock = nullptr);
    // What a registry does with a parameter it takes: nothing when it has a definition; else the
    // declaration found through the registry's def-name-remap pairs is allocated. False when
    // there is none.
    bool resolveDefinition(CAudioParam& param, const CArray<CAudioParamDefResolver::CPair>& pairs,
                           CAudioParamLockContext* lock = nullptr);

    // ---- filters and stored parameters, kept as long as the parameters ----
    // Makes the filter of a declaration, its names resolved below base (the process's path and
    // scope), and attaches it. A process made again finds its filter there already.
    CError* addFilter(const CAudioParamFilterDef& def, const CString& base);
    // Ties a parameter to a stored datum (once per parameter) and reads the datum into it.
    void addSharedParam(CAudioParam& param, CAppData& store, const CString& dataName);
    int32_t filterCount() const;

    // ---- bindings ----
    // Adds a binding at the end of the parameter's list and gives the caller the parameter's
    // audio-side storage. The mask starts with the bits of the groups that the storage has for
    // the binding (none while the parameter has no definition). group or element -1: all.
    CAudioParamBinding* bindSlot(CAudioParam& param, const CAudioParamStorage** outStorage,
                                 std::atomic<bool>* updatePending, std::atomic<uint32_t>* mask, int32_t group,
                                 int32_t element);
    // Takes a binding out of its list; its node goes back to the pool.
    void unbindSlot(CAudioParamBinding* binding);
    int32_t bindingCount(const CAudioParam& param);

    // ---- changes ----
    // What a parameter's change calls. applyNow: into the audio side and to the bindings at
    // once, for a caller on the audio thread. Otherwise a copy joins the list of the next block,
    // merged into an earlier change of the same place while the environment is stopped.
    void postChange(CAudioParam& param, const CAudioParamChange& record, bool applyNow) override;
    // Hands over a batch (made through an undo context) as one: the list takes it whole while
    // the environment runs, else merged change by change. Takes the list over.
    void postBatch(CAudioParamChangeList* batch);
    // The list that waits for the audio thread, or null; the caller owns it.
    CAudioParamChangeList* takeChanges();
    // The same with the environment lock already held by the caller, who takes more under it.
    CAudioParamChangeList* takeChangesLocked() {
        CAudioParamChangeList* list = m_list;
        m_list = nullptr;
        return list;
    }
    // On the audio thread (or the thread that primes the graph): each change in order into the
    // audio side, then to the bindings. Frees the list.
    void applyChanges(CAudioParamChangeList* list);

    // ---- host notifications ----
    // Queues a host notification until no parameter of the instance is locked; with nothing
    // locked it is delivered at once.
    void deferHostAutomate(CAudioExtParamHostBridge* bridge, int32_t extIndex, double value);
    // A writer that changes many parameters one after another (a preset) holds the host
    // notifications back until its last release, as a lock would.
    void holdHostNotifications();
    void releaseHostNotifications();
    // CAudioParamLockObserver
    void lockTaken() override;
    void lockReleased() override;

    // ---- CAudioParamHost: how the graph finds and binds parameters ----
    const CAudioParamReader* findParam(const CString& fullName) override;
    void addListener(const CAudioParamReader* param, CAudioParamListener* listener) override;
    void removeListener(const CAudioParamReader* param, CAudioParamListener* listener) override;

    // ---- CAudioParamWriter: a value that the audio thread publishes ----
    void writeParamValue(const CString& fullName, int32_t group, double value) override;

private:
    CAudioParamNode* nodeOf(const CAudioParamReader* reader);
    void offer(CAudioParam& param);
    void notifyBindings(CAudioParamNode& node, const CAudioParamChange& record);
    // Frees an entry that left its list on the audio thread: back to its pool at once, or, when
    // it holds data items of the general heap, onto the spent stack for another thread.
    void retire(void* entry);
    void reclaimSpent();
    void releaseCounts(int32_t reads, int32_t writes);

    CAudioEnv* m_env = nullptr;
    CAudioParamChangeList* m_list = nullptr;  // under the environment lock
    std::atomic<bool> m_finished{false};

    mutable CCriticalSection m_collectorLock;
    CMap<CString, CAudioParamNode*> m_params;
    CMap<const CAudioParamReader*, CAudioParamNode*> m_byReader;
    CMap<CString, CString> m_remaps;
    // By ascending prefix length; those of equal length in the order added.
    CArray<CAudioParamRegistryLink*> m_registries;

    CCriticalSection m_bindingLock;
    CAudioParamBindingPool m_bindingPool;

    CCriticalSection m_smallLock;
    int32_t m_readCount = 0;
    int32_t m_writeCount = 0;
    CAudioParamDeferredAutomation m_deferred;

    CLockFreeStack m_spent;

    // Under the collector lock; by the declaration's path below its base.
    CMap<CString, CAudioParamFilter*> m_filters;
    CArray<CSharedParam*> m_sharedParams;
};

}  // namespace orl
