#include "Audio/Processes/CAudioProcessChain.h"

#include "Audio/CAudioProcessFactory.h"
#include "Audio/CSampleBufferPool.h"
#include "Core/CError.h"

namespace orl {

CAudioProcessChain::~CAudioProcessChain() { removeAll(); }

void CAudioProcessChain::release() {
    for (CAudioProcessBase* child : m_children) child->release();
    CModWholeNode::release();
}

void CAudioProcessChain::resetState() {
    CModWholeNode::resetState();
    for (CAudioProcessBase* child : m_children) child->resetState();
}

bool CAudioProcessChain::insertChild(int32_t position, const CAudioProcessDefBase* def, const CString& name) {
    if (!def || position < 0 || position > m_children.count()) return false;
    CAudioProcessBase* child = nullptr;
    if (CError* err = makeProcess(child, def, false, this, m_pool, m_params, name, m_group, m_element)) {
        logError(err);
        deleteError(err);
    }
    if (!child) return false;
    m_children.insert(position, child);
    relink();
    return true;
}

void CAudioProcessChain::removeChild(int32_t position) {
    if (position < 0 || position >= m_children.count()) return;
    CAudioProcessBase* child = m_children[position];
    m_children.removeAt(position);
    child->release();
    delete child;
    relink();
}

void CAudioProcessChain::removeAll() {
    while (m_children.count() > 0) removeChild(m_children.count() - 1);
}

void CAudioProcessChain::relink() {
    for (int32_t i = 0; i < m_children.count(); ++i) {
        const CAudioProcessBase* node = i == 0 ? this : m_children[i - 1];
        const int32_t port = 0;
        m_children[i]->setSources(&node, &port, 1);
    }
}

void CAudioProcessChain::processBlock() {
    const CPortTable& table = m_ports[0];
    if (m_children.count() == 0) {
        for (uint32_t m = table.mask; m; m &= m - 1) {
            const CAudioChannel& ch = table.channels[__builtin_ctz(m)];
            passOn(ch, ch.index, ch.group, ch.latency);
        }
        return;
    }
    for (uint32_t m = table.mask; m; m &= m - 1) {
        const CAudioChannel& ch = table.channels[__builtin_ctz(m)];
        CSampleBufferPool::addRef(ch.buffer);
        m_children[0]->deliver(0, ch, m_sampleCount);
    }
    const int32_t last = m_children.count() - 1;
    for (int32_t i = 0; i <= last; ++i) {
        CAudioProcessBase* child = m_children[i];
        child->process();
        const int32_t count = child->outputSampleCount();
        for (uint32_t m = child->outputMask(); m; m &= m - 1) {
            const CAudioChannel& ch = child->output(__builtin_ctz(m));
            CSampleBufferPool::addRef(ch.buffer);
            if (i < last) {
                m_children[i + 1]->deliver(0, ch, count);
            } else {
                setOutput(ch);
                m_outputSampleCount = count;
            }
        }
        child->releaseOutputs();
    }
}

}  // namespace orl
