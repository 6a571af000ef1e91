#pragma once
#include <cstdint>

#include "Core/CArray.h"
#include "Core/CObject.h"

namespace orl {

class CAudioFilterList;
class CAudioFilterValues;

// A filter generator: a shared, stateless object of the definition tree that turns parameter
// values and a sample rate into filter descriptions. Called on the control path only (a
// module's update), never in a signal loop, and never allocates.
class CAudioFilterGen : public CObject {
public:
    // Adds this generator's filters to the list; false when the list had no room.
    virtual bool make(const CAudioFilterValues& values, double sampleRate, CAudioFilterList& list) const = 0;
    // The values the generator reads, in its own order: the positions that an adjustment list
    // of a serial generator refers to.
    virtual int32_t valueCount() const { return 0; }
    virtual const char* valueName(int32_t /*i*/) const { return nullptr; }

    // A comma list of numbers ("0.5, 1,2.1875"); an empty piece is NaN, so that a position can
    // be left out. False at the first piece that is no number.
    static bool parseNumbers(const CString& text, CArray<double>& out);
};

}  // namespace orl
