#include "Audio/CAudioProcessStack.h"

#include "Audio/CAudioProcessDefBase.h"
#include "Audio/CAudioProcessFactory.h"
#include "Audio/CSampleBufferPool.h"
#include "Core/CError.h"

namespace orl {

CAudioProcessStack::~CAudioProcessStack() {
    for (CInstance& inst : m_instances) {
        inst.process->release();
        delete inst.process;
    }
}

bool CAudioProcessStack::isChannelStack() const { return m_def && m_def->isChannelStack(); }

CAudioProcessBase* CAudioProcessStack::instance(int32_t key) const {
    for (const CInstance& inst : m_instances) {
        if (inst.key == key) return inst.process;
    }
    return nullptr;
}

void CAudioProcessStack::reconcileInstances() {
    uint32_t keys = 0;
    uint32_t ports = 0;
    int32_t groupOfKey[kMaxChannels] = {};
    for (int32_t p = 0; p < kMaxPorts; ++p) {
        for (uint32_t m = m_ports[p].mask; m; m &= m - 1) {
            const CAudioChannel& ch = m_ports[p].channels[__builtin_ctz(m)];
            const int32_t key = keyOf(ch);
            if (key < 0 || key >= kMaxChannels) continue;
            keys |= 1u << key;
            groupOfKey[key] = ch.group;
            ports |= 1u << p;
        }
    }
    // Instances of groups that stay keep their state; vanished ones go, new ones are made.
    CArray<CInstance, 8> next;
    for (uint32_t m = keys; m; m &= m - 1) {
        const int32_t key = __builtin_ctz(m);
        CAudioProcessBase* process = nullptr;
        for (CInstance& inst : m_instances) {
            if (inst.key == key) {
                process = inst.process;
                inst.process = nullptr;
            }
        }
        if (!process) {
            const int32_t shift = m_def ? m_def->stackIndexShift() : 0;
            if (CError* err = makeProcess(process, m_def, true, this, m_pool, m_params, m_name,
                                          isChannelStack() ? groupOfKey[key] : key, shift + key)) {
                logError(err);
                deleteError(err);
            }
            if (!process) continue;
        }
        int32_t portCount = 0;
        for (int32_t p = 0; p < kMaxPorts; ++p) {
            if (ports & (1u << p)) portCount = p + 1;
        }
        process->setExternalSources(portCount);
        next.add(CInstance{key, process});
    }
    for (CInstance& inst : m_instances) {
        if (!inst.process) continue;
        inst.process->release();
        delete inst.process;
    }
    m_instances = static_cast<CArray<CInstance, 8>&&>(next);
}

void CAudioProcessStack::update() {
    if (isReconnecting()) reconcileInstances();
}

void CAudioProcessStack::process() {
    if (!baseStep()) return;
    for (CInstance& inst : m_instances) {
        for (int32_t p = 0; p < kMaxPorts; ++p) {
            for (uint32_t m = m_ports[p].mask; m; m &= m - 1) {
                const CAudioChannel& ch = m_ports[p].channels[__builtin_ctz(m)];
                if (keyOf(ch) != inst.key || p >= inst.process->sourceCount()) continue;
                CSampleBufferPool::addRef(ch.buffer);
                inst.process->deliver(p, ch, m_sampleCount);
            }
        }
        inst.process->process();
        for (uint32_t m = inst.process->outputMask(); m; m &= m - 1) {
            CAudioChannel ch = inst.process->output(__builtin_ctz(m));
            CSampleBufferPool::addRef(ch.buffer);
            setOutput(ch);
        }
        inst.process->releaseOutputs();
    }
    releasePortTables();
}

void CAudioProcessStack::resetState() {
    CAudioProcessBase::resetState();
    for (CInstance& inst : m_instances) inst.process->resetState();
}

void CAudioProcessStack::release() {
    for (CInstance& inst : m_instances) inst.process->release();
    CAudioProcessBase::release();
}

}  // namespace orl
