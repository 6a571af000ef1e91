#pragma once
#include <atomic>
#include <cstdint>

#include "Audio/CAudioChannel.h"
#include "Audio/CAudioParamReader.h"
#include "Core/CArray.h"
#include "Core/CString.h"

namespace orl {

class CAudioParamAllocDef;
class CAudioParamHost;
class CError;
class CAudioProcessDefBase;
class CDSPModDelay;
class CSampleBufferPool;

// A node of the running process graph. Each block, upstream nodes deliver buffers into the
// node's sources; the base step checks the connections, runs updates, aligns the inputs' latency
// and combines several sources on one channel, leaving one buffer per channel in each port table.
class CAudioProcessBase {
public:
    static constexpr int32_t kMaxChannels = 32;
    static constexpr int32_t kMaxPorts = 4;

    // One incoming connection: the channels that one upstream node (or the outside, when node is
    // null) delivers into one port of this node.
    struct CSource {
        CAudioProcessBase* node = nullptr;
        int32_t port = 0;
        uint32_t mask = 0;        // channels delivered in this block
        uint32_t knownMask = 0;   // channels at the last connection check
        int32_t sampleCount = 0;
        CAudioChannel channels[kMaxChannels];
        CAudioChannel known[kMaxChannels];
        CDSPModDelay* compensators[kMaxChannels] = {};
        bool fillFromFirstSample[kMaxChannels] = {};
    };

    // The inputs of one port once aligned and combined: one buffer per channel.
    struct CPortTable {
        uint32_t mask = 0;
        CAudioChannel channels[kMaxChannels];
    };

    CAudioProcessBase() = default;
    CAudioProcessBase(const CAudioProcessBase&) = delete;
    CAudioProcessBase& operator=(const CAudioProcessBase&) = delete;

    // Virtual operations, in slot order.
    virtual ~CAudioProcessBase();
    virtual CError* init();
    virtual void resetState();
    virtual void update();
    virtual void process() = 0;
    // Detaches the node from the graph: drops its buffers and compensators.
    virtual void release();

    // Wiring, done by the owner before the first block.
    void setContext(CAudioProcessBase* owner, CSampleBufferPool* pool, CAudioParamHost* params);
    // Also gives the node its full path: the owner's path and the name, or the owner's path for
    // an inner instance of the owner's own definition (a stack's instances).
    void setIdentity(const CString& name, const CAudioProcessDefBase* def, int32_t group, int32_t element);
    // The parameter side of the definition, when the host is a real collector: the remaps, with
    // names resolved against the node's path, then the declared parameters allocated under
    // that path (plain scopes adding their names). Done once per node before init, so that
    // modules bind to parameters that have their definitions; never for inner instances.
    void instantiateParamSide();
    // Replaces the list of (upstream node, port) sources, keeping the state of those that stay.
    void setSources(const CAudioProcessBase* const* nodes, const int32_t* ports, int32_t count);
    // Sources fed from outside the graph (node null), one for each port: the root and the
    // instances of a stack take their input so.
    void setExternalSources(int32_t portCount);
    int32_t sourceCount() const { return m_sources.count(); }
    int32_t findSource(const CAudioProcessBase* node, int32_t port) const;

    // Delivery of one channel into a source; the node takes over one reference of the buffer.
    void deliver(int32_t sourceIndex, const CAudioChannel& channel, int32_t sampleCount);
    bool hasInput() const { return m_hasInput; }

    // Outputs after process: one reference each, owned by the node until releaseOutputs.
    uint32_t outputMask() const { return m_outputMask; }
    const CAudioChannel& output(int32_t index) const { return m_outputs[index]; }
    // Samples in each output buffer: the input's count, unless the node changes the rate.
    int32_t outputSampleCount() const { return m_outputSampleCount; }
    void releaseOutputs();

    const CString& name() const { return m_name; }
    // The dotted path of the node, under which its parameters are named.
    const CString& path() const { return m_path; }
    const CAudioProcessDefBase* def() const { return m_def; }
    int32_t group() const { return m_group; }
    int32_t element() const { return m_element; }
    double sampleRate() const { return m_sampleRate; }
    int32_t sampleCount() const { return m_sampleCount; }
    int32_t inputLatency() const { return m_inputLatency; }
    const CPortTable& portTable(int32_t port) const { return m_ports[port]; }
    CSampleBufferPool* pool() const { return m_pool; }
    CAudioParamHost* params() const { return m_params; }
    CAudioProcessBase* owner() const { return m_owner; }

    // Asks for update at the next block start; safe from any thread.
    void requestUpdate() { m_updatePending.store(true, std::memory_order_release); }
    std::atomic<bool>* updatePendingFlag() { return &m_updatePending; }

    // Crossfade timers: each loses sampleCount / sampleRate seconds in every block's update step.
    int32_t startTimer(double seconds);
    bool isTimerDone(int32_t timer) const { return m_timers[timer].done; }
    void freeTimer(int32_t timer);

protected:
    // The common step at the start of process. Returns false when nothing was delivered.
    bool baseStep();
    // Called by the base step when the connections changed, before update.
    virtual void onConnectionChanged() {}
    // The port tables' references are dropped.
    void releasePortTables();
    void setOutput(const CAudioChannel& channel);
    bool isReconnecting() const { return m_reconnect; }
    bool takeUpdatePending() { return m_updatePending.exchange(false, std::memory_order_acq_rel); }

    // The parameters that the definition allocates, each bound to the host's parameter of that
    // name with a listener that flags an update when its value changes.
    struct CAlloc {
        const CAudioParamAllocDef* def = nullptr;
        const CAudioParamReader* param = nullptr;
        std::atomic<uint32_t> changedMask{0};
        CAudioParamListener listener;
        bool registered = false;
    };
    // Makes the bindings once, then binds those whose parameter the host has by now.
    void registerAllocs();
    void unregisterAllocs();
    CArray<CAlloc*, 8> m_allocs;
    bool m_allocsMade = false;

    CString m_name;
    CString m_path;
    const CAudioProcessDefBase* m_def = nullptr;
    CAudioProcessBase* m_owner = nullptr;
    CSampleBufferPool* m_pool = nullptr;
    CAudioParamHost* m_params = nullptr;
    int32_t m_group = 0;
    int32_t m_element = 0;
    double m_sampleRate = 0.0;
    int32_t m_sampleCount = 0;
    int32_t m_outputSampleCount = 0;
    int32_t m_inputLatency = 0;
    CArray<CSource*, 4> m_sources;
    CPortTable m_ports[kMaxPorts];
    uint32_t m_outputMask = 0;
    CAudioChannel m_outputs[kMaxChannels];

private:
    struct CTimer {
        double remaining = 0.0;
        bool done = false;
        bool used = false;
    };

    bool checkConnections();
    void rebuildAlignment();
    void advanceTimers();
    void runCompensators();
    void combine();

    std::atomic<bool> m_updatePending{true};
    bool m_reconnect = false;
    bool m_sourcesChanged = true;
    bool m_hasInput = false;
    CArray<CTimer, 8> m_timers;
};

}  // namespace orl
