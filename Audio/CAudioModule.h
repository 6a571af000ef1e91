#pragma once
#include <cstdint>

#include "Audio/CAudioChannel.h"

namespace orl {

class CAudioParamReader;
class CAudioProcessTerminalBase;
class CSampleBufferPool;
struct CSampleBuffer;

// The base of all signal code: one module per input channel of a terminal node (or one for all
// of them). The terminal fills the inputs, calls connectPorts, and runs the module's signal
// loop, a non-virtual `process()` of the derived class that the terminal calls inline.
class CAudioModule {
public:
    static constexpr int32_t kMaxInputs = 16;
    static constexpr int32_t kMaxOutputs = 32;
    static constexpr int32_t kMaxParams = 32;

    struct COutput {
        int32_t channelIndex = -1;
        int32_t group = 0;
        int32_t latency = 0;
        CSampleBuffer* buffer = nullptr;
    };

    CAudioModule() = default;
    CAudioModule(const CAudioModule&) = delete;
    CAudioModule& operator=(const CAudioModule&) = delete;

    // Virtual operations, in slot order.
    virtual ~CAudioModule();
    // The input and output tables are filled; the default makes one output per input with the
    // same channel, group and latency.
    virtual void connectPorts();
    // Forgets all signal history.
    virtual void resetState();
    // Picks up parameters; resetRequested says that the rate or the connections changed.
    virtual void update();
    // Called once after creation: binds parameter slots 0..paramCount-1 to the node's allocations.
    virtual void bindParams();

    // The terminal's side.
    void attach(CAudioProcessTerminalBase* process, CSampleBufferPool* pool) {
        m_process = process;
        m_pool = pool;
    }
    void setInputs(const CAudioChannel* const* inputs, int32_t count, int32_t group, int32_t element);
    int32_t inputCount() const { return m_inputCount; }
    const CAudioChannel* input(int32_t i) const { return m_inputs[i]; }
    int32_t outputCount() const { return m_outputCount; }
    COutput& outputEntry(int32_t o) { return m_outputs[o]; }
    int32_t group() const { return m_group; }
    int32_t element() const { return m_element; }
    // Own latency of the module, added to the input latency of its outputs.
    int32_t maxOutputLatency() const;

    int32_t m_sampleCount = 0;
    double m_sampleRate = 0.0;
    bool m_resetRequested = false;
    bool m_changed = false;
    bool m_paramChanged[kMaxParams] = {};

protected:
    // Signal-loop helpers.
    const double* inputData(int32_t i) const;
    // The buffer of output o, taken from the pool on first use in a block.
    double* outputData(int32_t o);
    // Output o carries input i's buffer on with one more reference, instead of a copy.
    void passInput(int32_t o, int32_t i);
    // The port-1 (or other port) channel that belongs to this module: same index and group as its
    // first input, else the last one of the same group, else none. Whole modules match exactly.
    const CAudioChannel* findPortChannel(int32_t port) const;
    // A parameter slot's value at this module's group and element, or the built-in default when
    // the slot is unbound.
    double paramValue(int32_t slot, double builtinDefault) const;
    int32_t paramInt(int32_t slot, int32_t builtinDefault) const;
    bool isParamBound(int32_t slot) const { return slot >= 0 && slot < m_paramCount && m_params[slot]; }

    CAudioProcessTerminalBase* m_process = nullptr;
    CSampleBufferPool* m_pool = nullptr;
    int32_t m_group = 0;
    int32_t m_element = 0;
    const CAudioChannel* m_inputs[kMaxInputs] = {};
    int32_t m_inputCount = 0;
    COutput m_outputs[kMaxOutputs];
    int32_t m_outputCount = 0;
    // Set by the derived class's constructor: how many parameter slots it reads.
    int32_t m_paramCount = 0;
    const CAudioParamReader* m_params[kMaxParams] = {};
};

}  // namespace orl
