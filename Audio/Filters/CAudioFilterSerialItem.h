#pragma once
#include <cstdint>

#include "Core/CArray.h"
#include "Core/CObject.h"

namespace orl {

class CAudioFilterGen;
class CAudioFilterValues;

// One stage of a serial generator, tag "audio:fltgen-serial-item". Attributes: `fltgen` (the
// generator, a path from this item, defined before it), `adjust` and `adjust-pow` (comma
// lists by the position of the generator's values: value i is first raised to adjust-pow[i]
// where that is given, then multiplied by adjust[i]).
class CAudioFilterSerialItem : public CObject {
public:
    CError* init() override;

    const CAudioFilterGen* generator() const { return m_gen; }
    // The item's values from the module's: a copy with the adjustments applied.
    void adjust(const CAudioFilterValues& in, CAudioFilterValues& out) const;

private:
    const CAudioFilterGen* m_gen = nullptr;
    CArray<double> m_adjust;
    CArray<double> m_adjustPow;
};

}  // namespace orl
