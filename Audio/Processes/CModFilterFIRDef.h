#pragma once
#include "Audio/CAudioProcessDefBase.h"

namespace orl {

class CAudioFilterGenArray;

// The definition of the FIR filter, tag "audio:modFilterFIR". Attributes: `gen-array`, the
// generator array by path, and `is-zero-latency` (default false): when true the module reports
// only the convolution's block as its latency and not the kernel's group delay, for uses that
// do not need the filter's output aligned with the rest of the graph. The parameters sit at
// fixed allocation indexes (CModFilterFIRModule::EParam).
class CModFilterFIRDef : public CAudioProcessDefBase {
public:
    CModFilterFIRDef();
    CError* init() override;
    CAudioProcessBase* createProcess() const override;

    const CAudioFilterGenArray* genArray() const { return m_genArray; }
    bool isZeroLatency() const { return m_zeroLatency; }

    // Registers the tag once; true when it is registered.
    static bool ensureCreatorsRegistered();

private:
    const CAudioFilterGenArray* m_genArray = nullptr;
    bool m_zeroLatency = false;
};

}  // namespace orl
