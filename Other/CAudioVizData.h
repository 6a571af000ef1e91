#pragma once
#include <cstddef>
#include <cstdint>

namespace orl {

class CError;
class CInputStream;
class COutputStream;

// A small time-stamped measurement that the audio side hands to the displays. The type number
// travels beside the record, not inside it: save and load cover the fields only. Records are
// made on the audio thread, so they come from the size-class pools (one lock-free pop), never
// from the general heap.
class CAudioVizData {
public:
    enum EType : int32_t { kMeter = 0, kInfo = 1, kSpectrum = 3, kVScope = 4 };

    CAudioVizData() = default;
    CAudioVizData(const CAudioVizData&) = delete;
    CAudioVizData& operator=(const CAudioVizData&) = delete;

    // Virtual operations, in slot order.
    virtual ~CAudioVizData();
    // The header: channel, group, element, time, slot (4, 4, 4, 8, 4 bytes).
    virtual CError* save(COutputStream& out) const;
    virtual CError* load(CInputStream& in);

    virtual int32_t type() const = 0;

    // A record of a known type, or null for any other number.
    static CAudioVizData* create(int32_t type);
    static bool isKnownType(int32_t type) {
        return type == kMeter || type == kInfo || type == kSpectrum || type == kVScope;
    }

    static void* operator new(size_t size);
    static void operator delete(void* p);

    int32_t channel = 0;
    int32_t group = 0;
    int32_t element = 0;
    double time = 0.0;
    // -1 for a record of this instance.
    int32_t slot = -1;
};

}  // namespace orl
