#pragma once
#include <atomic>
#include <cstdint>

#include "Audio/CAudioParamReader.h"
#include "Audio/CAudioProcessBase.h"
#include "Audio/Kernels/CDSPKernels.h"

namespace orl {

class CAudioModule;
class CAudioParamAllocDef;

// A leaf of the graph: a list of module slots, one for each input channel of port 0, or one for
// all channels with `is-terminal-whole`. Parameter changes reach the modules at block starts,
// directly or through a crossfade between an outgoing and an incoming module.
class CAudioProcessTerminalBase : public CAudioProcessBase {
public:
    ~CAudioProcessTerminalBase() override;
    void resetState() override;
    void update() override;
    void process() override;
    void release() override;

    // For a module's bindParams: the parameter of allocation `index`. False when the definition
    // has no such allocation; true with null when the parameter isn't known to the host.
    bool paramForIndex(int32_t index, const CAudioParamReader*& out) const;
    bool isWhole() const { return m_whole; }
    // A module whose output channels change (their number, index or group) asks for this from
    // its update: the node then connects all its modules anew within the same block, so the
    // nodes downstream see the new channels at once.
    void requestReconnect() { m_reconnectRequested = true; }
    int32_t crossfadeSamples() const { return m_xfadeSamples; }
    // Live module of a slot, for tests and measurements.
    int32_t slotCount() const { return m_slots.count(); }
    CAudioModule* slotModule(int32_t slot) const { return m_slots[slot]->live; }
    bool isSlotFading(int32_t slot) const { return m_slots[slot]->outgoing != nullptr; }
    int32_t spareCount() const { return m_spares.count(); }

protected:
    virtual CAudioModule* createModule() = 0;
    // Runs the module's signal loop (inline in the template).
    virtual void runModule(CAudioModule* module) = 0;

private:
    struct CSlot {
        int32_t key = -1;  // channel index, or -1 for the whole node
        CAudioModule* live = nullptr;
        CAudioModule* outgoing = nullptr;
        int32_t timer = -1;
        bool changedAgain = false;
        int32_t hold = 0;
        int32_t fade = 0;
        int64_t elapsed = 0;
        CRaisedCosine oscillators[32];
    };

    void reconnectAll();
    void reconnectSlots();
    void connectSlot(CSlot& slot);
    CAudioModule* takeModule();
    void retire(CAudioModule* module);
    void startCrossfade(CSlot& slot);
    void endCrossfade(CSlot& slot);
    bool allocApplies(const CAlloc& alloc, uint32_t mask, const CAudioModule* module) const;
    void runOne(CAudioModule* module);
    void mixCrossfade(CSlot& slot);
    void publish(CAudioModule* module);

    CArray<CSlot*, 8> m_slots;
    CArray<CAudioModule*, 8> m_spares;
    bool m_reconnectRequested = false;
    bool m_whole = false;
    int32_t m_xfadeSamples = 1;
    double m_lastSampleRate = 0.0;
};

// The terminal of one module class: makes its modules and runs their loop without a virtual call
// per module.
template <class Module>
class CAudioProcessTerminal : public CAudioProcessTerminalBase {
protected:
    CAudioModule* createModule() override { return new Module(); }
    void runModule(CAudioModule* module) override { static_cast<Module*>(module)->process(); }
};

}  // namespace orl
