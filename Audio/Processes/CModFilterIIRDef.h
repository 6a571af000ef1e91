#pragma once
#include <cstdint>

#include "Audio/CAudioProcessDefBase.h"
#include "Audio/Filters/CAudioFilterValues.h"

namespace orl {

class CAudioFilterGenArray;

// The definition of the IIR filter, tag "audio:modFilterIIR". Attribute `gen-array`: the
// generator array, by path. Allocations: the one whose parameter is named `index` selects the
// generator; every other one is a value handed to the generator under its parameter's name
// (the last component of `param-name`: "freq", "gain", "bw", ...).
class CModFilterIIRDef : public CAudioProcessDefBase {
public:
    CModFilterIIRDef();
    CError* init() override;
    CError* initChilds() override;
    CAudioProcessBase* createProcess() const override;

    const CAudioFilterGenArray* genArray() const { return m_genArray; }
    // The allocation slot of `index`, or -1.
    int32_t indexSlot() const { return m_indexSlot; }
    // Slots a module reads: one past the highest allocation index.
    int32_t slotCount() const { return m_slotCount; }
    int32_t valueCount() const { return m_valueCount; }
    int32_t valueSlot(int32_t i) const { return m_valueSlots[i]; }
    const CString& valueName(int32_t i) const { return m_valueNames[i]; }

    // Registers the tag once; true when it is registered.
    static bool ensureCreatorsRegistered();

private:
    const CAudioFilterGenArray* m_genArray = nullptr;
    int32_t m_indexSlot = -1;
    int32_t m_slotCount = 0;
    int32_t m_valueCount = 0;
    int32_t m_valueSlots[CAudioFilterValues::kMaxValues] = {};
    CString m_valueNames[CAudioFilterValues::kMaxValues];
};

}  // namespace orl
