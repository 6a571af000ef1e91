#pragma once
#include <atomic>
#include <cstdint>

#include "Core/CString.h"

namespace orl {

class CAudioParam;
class CAudioVizData;

// The visualisation collector's record of one source (a process, by its full path): how many
// displays listen to it, and the records made since the last request. An entry lives as long as
// its collector, so a module may keep the pointer it got at connectPorts.
class CAudioVizEntry {
public:
    // Records kept for a source between two requests; a display that doesn't draw costs this many
    // records of each source at most.
    static constexpr int32_t kMaxPending = 1024;
    static constexpr int32_t kGroupCount = 8;

    // A fixed ring of record pointers: appending never allocates, and a full ring loses its oldest.
    struct CRing {
        CAudioVizData* items[kMaxPending] = {};
        int32_t head = 0;
        int32_t count = 0;

        CAudioVizData* at(int32_t i) const { return items[(head + i) % kMaxPending]; }
        // Returns the record that had to leave to make room, or null.
        CAudioVizData* push(CAudioVizData* record) {
            CAudioVizData* dropped = nullptr;
            if (count == kMaxPending) {
                dropped = items[head];
                head = (head + 1) % kMaxPending;
                --count;
            }
            items[(head + count) % kMaxPending] = record;
            ++count;
            return dropped;
        }
        // Frees every record and empties the ring.
        void clear();
    };

    explicit CAudioVizEntry(const CString& entryName, int32_t entryIndex) : name(entryName), index(entryIndex) {}
    CAudioVizEntry(const CAudioVizEntry&) = delete;
    CAudioVizEntry& operator=(const CAudioVizEntry&) = delete;
    ~CAudioVizEntry();

    // Listeners of this instance's displays, not counting those that come through export slots.
    int32_t localListenerCount() const { return totalCount - exportCount; }

    const CString name;
    const int32_t index;
    // Changed by the audio thread alone (applyDeltas); read there too.
    int32_t totalCount = 0;
    int32_t exportCount = 0;
    int32_t exportCountPerGroup[kGroupCount] = {};
    // The parameter name + "-enable", found on a listening thread so that the audio thread
    // seldom has to look it up; null until then.
    std::atomic<CAudioParam*> enableParam{nullptr};
    // Under the collector's records lock: the records waiting for the next request.
    CRing* pending = nullptr;
};

}  // namespace orl
