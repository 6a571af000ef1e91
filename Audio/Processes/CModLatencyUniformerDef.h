#pragma once
#include <cstdint>

#include "Audio/CAudioProcessDefBase.h"
#include "Core/CArray.h"

namespace orl {

// The definition of the latency uniformer (`audio:modLatencyUniformer`). `latencies` holds
// "rate=samples" pairs separated by ";", the total latency the plug-in reports at each rate. A
// value that doesn't read as an integer is kept as -1, which marks its rate unsupported.
class CModLatencyUniformerDef : public CAudioProcessDefBase {
public:
    struct CRow {
        int32_t rate = -1;
        int32_t total = -1;
    };

    CModLatencyUniformerDef();
    CError* init() override;
    CAudioProcessBase* createProcess() const override;

    int32_t rowCount() const { return m_rows.count(); }
    const CRow& row(int32_t i) const { return m_rows[i]; }
    // The total latency for a sample rate: the first row, in table order, whose rate is at least
    // the rounded rate; -1 when no row fits or the row is unsupported.
    int32_t totalFor(double sampleRate) const;

    // Registers the tag once; true when it is registered.
    static bool ensureCreatorsRegistered();

private:
    CArray<CRow, 8> m_rows;
};

}  // namespace orl
