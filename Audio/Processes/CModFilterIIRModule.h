#pragma once
#include <cstdint>

#include "Audio/CAudioModule.h"
#include "Audio/Filters/CDCDAWFilterWorkspace.h"

namespace orl {

// One channel of the IIR filter. At each update the chosen generator describes the filter
// anew; a description of the same shape glides into the running program (no click when
// `freq`, `gain` or `bw` move), another shape rebuilds it. The filter adds no latency of its
// own, whichever filter it runs.
class CModFilterIIRModule : public CAudioModule {
public:
    void bindParams() override;
    void resetState() override;
    void update() override;
    void process() {
        if (m_inputCount == 0) return;
        if (m_program.count() == 0) {
            passInput(0, 0);
            return;
        }
        m_program.run(inputData(0), outputData(0), m_sampleCount);
    }

    const CDCDAWFilterWorkspace& program() const { return m_program; }
    CDCDAWFilterWorkspace& program() { return m_program; }

private:
    double rate() const;

    CDCDAWFilterWorkspace m_program;
    bool m_built = false;
    double m_builtRate = 0.0;
};

}  // namespace orl
