#pragma once
#include <cstdint>

#include "Audio/CAudioModule.h"
#include "Audio/CSampleBuffer.h"

namespace orl {

// Applies a gain signal: out = a * b, (1 - b) * a with `is-inverted`, or a / b with
// `is-division`. a is the module's own channel, b the port-1 channel of the same index and
// group, else the last port-1 channel of its group: so under full linking every channel of a
// group takes the group's one gain channel. Without a port-1 channel the input passes on by
// reference.
class CModMultModule : public CAudioModule {
public:
    using TRoutine = void (*)(double* dst, const double* a, const double* b, int32_t count);

    void connectPorts() override;
    void update() override;
    void process() {
        if (m_inputCount == 0) return;
        if (!m_factor || !m_factor->buffer) {
            passInput(0, 0);
            return;
        }
        m_routine(outputData(0), inputData(0), m_factor->buffer->data(), m_sampleCount);
    }

    const CAudioChannel* factorChannel() const { return m_factor; }

private:
    TRoutine m_routine = nullptr;
    const CAudioChannel* m_factor = nullptr;
};

}  // namespace orl
