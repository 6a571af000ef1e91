#include "Audio/CAudioProcessTerminalBase.h"

#include <cmath>

#include "Audio/CAudioModule.h"
#include "Audio/CAudioParamAllocDef.h"
#include "Audio/CAudioProcessDefBase.h"
#include "Audio/CSampleBufferPool.h"

namespace orl {

namespace {

void clearModuleFlags(CAudioModule* module) {
    module->m_resetRequested = false;
    module->m_changed = false;
    for (bool& flag : module->m_paramChanged) flag = false;
}

void releaseModuleOutputs(CAudioModule* module) {
    for (int32_t o = 0; o < module->outputCount(); ++o) {
        CAudioModule::COutput& out = module->outputEntry(o);
        if (out.buffer) CSampleBufferPool::release(out.buffer);
        out.buffer = nullptr;
    }
}

}  // namespace

CAudioProcessTerminalBase::~CAudioProcessTerminalBase() {
    CAudioProcessTerminalBase::release();
    for (CSlot* slot : m_slots) {
        delete slot->live;
        delete slot->outgoing;
        delete slot;
    }
    for (CAudioModule* module : m_spares) delete module;
}

void CAudioProcessTerminalBase::release() {
    for (CSlot* slot : m_slots) {
        if (slot->live) releaseModuleOutputs(slot->live);
        if (slot->outgoing) releaseModuleOutputs(slot->outgoing);
    }
    CAudioProcessBase::release();
}

bool CAudioProcessTerminalBase::paramForIndex(int32_t index, const CAudioParamReader*& out) const {
    out = nullptr;
    for (const CAlloc* alloc : m_allocs) {
        if (alloc->def->index() == index) {
            out = alloc->param;
            return true;
        }
    }
    return false;
}

CAudioModule* CAudioProcessTerminalBase::takeModule() {
    if (m_spares.count() > 0) {
        CAudioModule* module = m_spares.last();
        m_spares.removeLast();
        return module;
    }
    CAudioModule* module = createModule();
    module->attach(this, m_pool);
    module->bindParams();
    return module;
}

void CAudioProcessTerminalBase::retire(CAudioModule* module) {
    releaseModuleOutputs(module);
    m_spares.add(module);
}

void CAudioProcessTerminalBase::reconnectSlots() {
    const CPortTable& table = m_ports[0];
    CArray<CSlot*, 8> next;
    auto adopt = [&](int32_t key) {
        for (CSlot*& slot : m_slots) {
            if (slot && slot->key == key) {
                next.add(slot);
                slot = nullptr;
                return;
            }
        }
        auto* slot = new CSlot();
        slot->key = key;
        slot->live = takeModule();
        next.add(slot);
    };
    if (m_whole) {
        if (table.mask) adopt(-1);
    } else {
        for (uint32_t m = table.mask; m; m &= m - 1) adopt(__builtin_ctz(m));
    }
    // Modules of channels that went away keep their instances for later use.
    for (CSlot* slot : m_slots) {
        if (!slot) continue;
        if (slot->outgoing) retire(slot->outgoing);
        if (slot->timer >= 0) freeTimer(slot->timer);
        retire(slot->live);
        delete slot;
    }
    m_slots = static_cast<CArray<CSlot*, 8>&&>(next);
}

void CAudioProcessTerminalBase::connectSlot(CSlot& slot) {
    const CPortTable& table = m_ports[0];
    const CAudioChannel* inputs[CAudioModule::kMaxInputs];
    int32_t count = 0;
    int32_t group = m_group;
    int32_t element = m_element;
    if (slot.key < 0) {
        for (uint32_t m = table.mask; m && count < CAudioModule::kMaxInputs; m &= m - 1)
            inputs[count++] = &table.channels[__builtin_ctz(m)];
    } else {
        inputs[count++] = &table.channels[slot.key];
        group = table.channels[slot.key].group;
        element = slot.key;
    }
    slot.live->setInputs(inputs, count, group, element);
}

void CAudioProcessTerminalBase::startCrossfade(CSlot& slot) {
    CAudioModule* incoming = takeModule();
    const CAudioChannel* inputs[CAudioModule::kMaxInputs];
    for (int32_t i = 0; i < slot.live->inputCount(); ++i) inputs[i] = slot.live->input(i);
    incoming->setInputs(inputs, slot.live->inputCount(), slot.live->group(), slot.live->element());
    incoming->connectPorts();
    incoming->resetState();
    incoming->m_sampleRate = m_sampleRate;
    incoming->m_resetRequested = true;
    incoming->m_changed = true;
    incoming->update();
    clearModuleFlags(incoming);
    clearModuleFlags(slot.live);

    slot.outgoing = slot.live;
    slot.live = incoming;
    const int32_t hold = incoming->maxOutputLatency() - m_inputLatency;
    slot.hold = hold > 0 ? hold : 0;
    slot.fade = m_xfadeSamples;
    slot.elapsed = 0;
    slot.timer = startTimer((slot.hold + slot.fade) / m_sampleRate);
    // Every output channel fades along the same curve, each with its own oscillator state.
    slot.oscillators[0].start(slot.fade);
    for (CRaisedCosine& osc : slot.oscillators) osc = slot.oscillators[0];
}

void CAudioProcessTerminalBase::endCrossfade(CSlot& slot) {
    if (slot.outgoing) retire(slot.outgoing);
    slot.outgoing = nullptr;
    if (slot.timer >= 0) freeTimer(slot.timer);
    slot.timer = -1;
}

bool CAudioProcessTerminalBase::allocApplies(const CAlloc& alloc, uint32_t mask, const CAudioModule* module) const {
    if (alloc.def->useAllGroups()) return true;
    if (alloc.param && alloc.param->isSingleGroup()) return true;
    return module->group() >= 0 && module->group() < 32 && (mask & (1u << module->group()));
}

void CAudioProcessTerminalBase::reconnectAll() {
    // Links, channels or the rate changed: no fade here; every module is connected and updated
    // anew.
    m_reconnectRequested = false;
    for (CSlot* slot : m_slots) {
        endCrossfade(*slot);
        slot->changedAgain = false;
    }
    m_whole = m_def && m_def->isTerminalWhole();
    double length = m_def ? m_def->xfadeLength() : 0.015;
    if (length < 0.0001) length = 0.0001;
    const int32_t samples = static_cast<int32_t>(std::lround(m_sampleRate * length));
    m_xfadeSamples = samples > 0 ? samples : 1;
    const bool rateChanged = m_sampleRate != m_lastSampleRate;
    m_lastSampleRate = m_sampleRate;
    reconnectSlots();
    for (CSlot* slot : m_slots) {
        CAudioModule* module = slot->live;
        connectSlot(*slot);
        module->m_sampleRate = m_sampleRate;
        module->connectPorts();
        if (rateChanged) module->resetState();
        module->m_resetRequested = true;
        module->m_changed = true;
        module->update();
        clearModuleFlags(module);
    }
    for (CAlloc* alloc : m_allocs) alloc->changedMask.store(0, std::memory_order_relaxed);
    // Whatever a module asked for while it was being connected is done already.
    m_reconnectRequested = false;
}

void CAudioProcessTerminalBase::update() {
    registerAllocs();
    if (isReconnecting()) {
        reconnectAll();
        return;
    }

    // Crossfades whose time is up hand over to the incoming module; a change that came during
    // one starts the next from the parameters now in force.
    for (CSlot* slot : m_slots) {
        // The timer counts this block too; the mix must also have run through the whole fade,
        // which with blocks of changing size can take a block longer.
        if (!slot->outgoing || !isTimerDone(slot->timer) || slot->elapsed < slot->hold + slot->fade) continue;
        endCrossfade(*slot);
        if (slot->changedAgain) {
            slot->changedAgain = false;
            startCrossfade(*slot);
        }
    }

    bool smooth = m_def && m_def->isSmoothUpdate();
    for (CAlloc* alloc : m_allocs) {
        const uint32_t mask = alloc->changedMask.exchange(0, std::memory_order_acq_rel);
        if (!mask) continue;
        for (CSlot* slot : m_slots) {
            if (!allocApplies(*alloc, mask, slot->live)) continue;
            slot->live->m_changed = true;
            const int32_t index = alloc->def->index();
            if (index >= 0 && index < CAudioModule::kMaxParams) slot->live->m_paramChanged[index] = true;
            if (alloc->def->isSmoothUpdate()) smooth = true;
        }
    }
    for (CSlot* slot : m_slots) {
        CAudioModule* module = slot->live;
        if (!module->m_changed) continue;
        if (!smooth) {
            module->update();
            clearModuleFlags(module);
        } else if (slot->outgoing) {
            slot->changedAgain = true;
            clearModuleFlags(module);
        } else {
            startCrossfade(*slot);
        }
    }
    if (m_reconnectRequested) reconnectAll();
    for (const CSlot* slot : m_slots) {
        if (slot->outgoing) {
            // The timers advance only in blocks that run the update step.
            requestUpdate();
            break;
        }
    }
}

void CAudioProcessTerminalBase::resetState() {
    CAudioProcessBase::resetState();
    for (CSlot* slot : m_slots) {
        endCrossfade(*slot);
        slot->changedAgain = false;
        slot->live->resetState();
    }
}

void CAudioProcessTerminalBase::runOne(CAudioModule* module) {
    module->m_sampleCount = m_sampleCount;
    module->m_sampleRate = m_sampleRate;
    if (m_sampleCount > 0) runModule(module);
    // Whatever the module left unwritten is silence; a block of 0 samples still hands on
    // (empty) buffers so that the shape of the graph stays as it is.
    for (int32_t o = 0; o < module->outputCount(); ++o) {
        CAudioModule::COutput& out = module->outputEntry(o);
        if (out.buffer) continue;
        out.buffer = m_pool->acquire(m_sampleCount);
        CDSPKernels::get().fill(out.buffer->data(), 0.0, m_sampleCount);
    }
}

void CAudioProcessTerminalBase::mixCrossfade(CSlot& slot) {
    const CDSPKernels& k = CDSPKernels::get();
    const int32_t n = m_sampleCount;
    const int64_t e = slot.elapsed;
    int32_t outputs = slot.live->outputCount();
    if (slot.outgoing->outputCount() < outputs) outputs = slot.outgoing->outputCount();
    if (outputs > 32) outputs = 32;
    for (int32_t o = 0; o < outputs && n > 0; ++o) {
        CAudioModule::COutput& in = slot.live->outputEntry(o);
        const double* old = slot.outgoing->outputEntry(o).buffer->data();
        if (!CSampleBufferPool::isSole(in.buffer)) {
            CSampleBuffer* fresh = m_pool->acquire(n);
            k.copy(fresh->data(), in.buffer->data(), n);
            CSampleBufferPool::release(in.buffer);
            in.buffer = fresh;
        }
        double* out = in.buffer->data();
        int32_t i = 0;
        if (e < slot.hold) {
            const int64_t left = slot.hold - e;
            i = left < n ? static_cast<int32_t>(left) : n;
            k.copy(out, old, i);
        }
        const int64_t fadeEnd = static_cast<int64_t>(slot.hold) + slot.fade;
        if (i < n && e + i < fadeEnd) {
            const int64_t left = fadeEnd - (e + i);
            const int32_t f = left < n - i ? static_cast<int32_t>(left) : n - i;
            k.crossfade(out + i, old + i, out + i, f, slot.oscillators[o]);
        }
    }
    slot.elapsed += n;
    releaseModuleOutputs(slot.outgoing);
}

void CAudioProcessTerminalBase::publish(CAudioModule* module) {
    for (int32_t o = 0; o < module->outputCount(); ++o) {
        CAudioModule::COutput& out = module->outputEntry(o);
        if (out.channelIndex < 0 || out.channelIndex >= kMaxChannels) {
            CSampleBufferPool::release(out.buffer);
        } else {
            CAudioChannel ch;
            ch.index = out.channelIndex;
            ch.group = out.group;
            ch.latency = out.latency;
            ch.port = 0;
            ch.sampleRate = m_sampleRate;
            ch.buffer = out.buffer;
            setOutput(ch);
        }
        out.buffer = nullptr;
    }
}

void CAudioProcessTerminalBase::process() {
    if (!baseStep()) return;
    for (CSlot* slot : m_slots) {
        runOne(slot->live);
        if (slot->outgoing) {
            runOne(slot->outgoing);
            mixCrossfade(*slot);
        }
        publish(slot->live);
    }
    releasePortTables();
}

}  // namespace orl
