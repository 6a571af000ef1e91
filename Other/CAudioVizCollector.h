#pragma once
#include <cstdint>

#include "Core/CArray.h"
#include "Core/CObject.h"
#include "Platform/CCriticalSection.h"

namespace orl {

class CAudioEnv;
class CAudioParam;
class CAudioParamCollector;
class CAudioParamDef;
class CAudioParamHost;
class CAudioVizData;
class CAudioVizDeltaList;
class CAudioVizEntry;
class COutputStream;

// Keeps the measurements of one plug-in instance until a display asks for them (tag
// "audio:viz-collector", object `plugin.viz-collector`; attributes `env` and `param-collector`,
// the paths of the instance's environment and parameter collector). A source works only while
// somebody listens: the first listener sets the parameter `<source>-enable` to 1, which brings
// the source's node into the graph, and the last one sets it back to 0.
//
// Threads: addRecord runs on the audio thread and holds the records lock only to append a
// pointer; a request holds it only to swap ring pointers. Listener counts travel to the audio
// thread as deltas under the environment lock, as parameter changes do. Every taker of either
// lock spins on try-enter.
//
// Export slots (publishing a source to other instances) are not built: this product's
// definitions leave `export-slot-param` empty, so no record ever comes through a slot.
class CAudioVizCollector : public CObject {
public:
    CAudioVizCollector();
    ~CAudioVizCollector() override;

    // Finds the environment, the parameter collector and the declaration `audio.param-enable-viz`
    // of the shared tree, and makes this collector the one that the graph of that parameter
    // collector finds (forHost).
    CError* init() override;

    // The collector that serves a graph whose parameters come from host; null when none is
    // attached. Lock-free: modules ask for it at connectPorts on the audio thread.
    static CAudioVizCollector* forHost(const CAudioParamHost* host);
    // Ties this collector to a graph's parameter host (init does it for the parameter collector;
    // a test graph with a host of its own calls it directly). Null detaches.
    void attachToHost(const CAudioParamHost* host);

    CAudioEnv* env() const { return m_env; }
    // The source names' entries; an entry is made on first request and lives as long as the
    // collector. Any thread.
    CAudioVizEntry* getEntry(const CString& name);
    int32_t entryCount() const;

    // ---- audio thread ----
    // Takes the record over: frees it at once when no display of this instance listens, else
    // appends it to the entry's pending records (the oldest leaves a full ring).
    void addRecord(CAudioVizEntry* entry, CAudioVizData* record);

    // ---- listening threads: a display starts or stops listening to a source ----
    void addListener(CAudioVizEntry* entry) { queueDelta(entry, +1); }
    void removeListener(CAudioVizEntry* entry) { queueDelta(entry, -1); }

    // ---- the shell's block road ----
    // With the environment lock held: the deltas queued since the last take (null when none,
    // the caller owns the list), and whether a display asked for data since then. A request
    // also hands the rate it wanted to the audio thread's copy in the environment.
    CAudioVizDeltaList* takeDeltasLocked(bool& requested);
    // The same, entering the environment lock by spinning.
    CAudioVizDeltaList* takeDeltas(bool& requested);
    // Applies each delta to its entry's count (never below 0) and frees the list. A count that
    // leaves or reaches 0 switches `<source>-enable`; onAudioThread applies that change to the
    // audio side at once, as the audio thread (or the thread that primes a stopped graph) must.
    // A count that reaches 0 drops the entry's pending records.
    void applyDeltas(CAudioVizDeltaList* list, bool onAudioThread);
    // At stop: every pending record is freed.
    void dropPending();

    // ---- answering a request (a display's thread) ----
    // Writes the whole `viz-data` message: its name, the end time of the coming block, then
    // for each source with records a u32 count, the name and each record as u32 type, u32 size
    // and its bytes; a u32 0 closes it. Stores wantedRate for the meters first. The records
    // leave the collector and are freed.
    CError* writeVizData(COutputStream& out, double wantedRate);

    // Records waiting for the next request, for tests and diagnostics.
    int32_t pendingCount(const CAudioVizEntry* entry) const;

private:
    void queueDelta(CAudioVizEntry* entry, int32_t delta);
    // The entry's `-enable` parameter, allocated from the declaration when it has no info yet.
    CAudioParam* resolveEnableParam(CAudioVizEntry* entry);
    void setEnable(CAudioVizEntry* entry, bool on, bool onAudioThread);
    void enterRecords() const;

    CAudioEnv* m_env = nullptr;
    CAudioParamCollector* m_params = nullptr;
    const CAudioParamDef* m_enableDef = nullptr;
    const CAudioParamHost* m_attachedHost = nullptr;

    // Guards the list of entries (not their counts).
    mutable CCriticalSection m_entriesLock;
    CArray<CAudioVizEntry*, 16> m_entries;

    // Guards each entry's pending ring pointer and the rings' content.
    mutable CCriticalSection m_recordsLock;

    // Under the environment lock.
    CAudioVizDeltaList* m_deltas = nullptr;
    bool m_requested = false;

    // A request's own: empty rings swapped in for the full ones. Requests from several displays
    // take turns here, never against the audio thread.
    CCriticalSection m_requestLock;
    CArray<void*, 16> m_spareRings;
};

}  // namespace orl
