#include "Audio/Processes/CModWholeNode.h"

#include "Audio/CAudioParamAllocDef.h"
#include "Audio/CAudioProcessDefBase.h"
#include "Audio/CSampleBufferPool.h"

namespace orl {

CModWholeNode::~CModWholeNode() { CModWholeNode::release(); }

void CModWholeNode::release() { CAudioProcessBase::release(); }

void CModWholeNode::update() {
    registerAllocs();
    for (CAlloc* alloc : m_allocs) alloc->changedMask.store(0, std::memory_order_relaxed);
    updateNode();
}

void CModWholeNode::process() {
    if (!baseStep()) return;
    processBlock();
    releasePortTables();
}

const CAudioParamReader* CModWholeNode::param(int32_t index) const {
    for (const CAlloc* alloc : m_allocs) {
        if (alloc->def->index() == index) return alloc->param;
    }
    return nullptr;
}

const CAudioParamReader* CModWholeNode::namedParam(const char* localName) const {
    for (const CAlloc* alloc : m_allocs) {
        if (alloc->def->localName() == localName) return alloc->param;
    }
    return nullptr;
}

double CModWholeNode::paramElement(int32_t index, int32_t element, double builtinDefault) const {
    const CAudioParamReader* p = param(index);
    return p ? p->pick(m_group, element) : builtinDefault;
}

int32_t CModWholeNode::paramElementCount(int32_t index) const {
    const CAudioParamReader* p = param(index);
    if (!p) return 0;
    const int32_t g = p->isSingleGroup() ? 0 : m_group;
    return g >= 0 && g < p->groupCount() ? p->elementCount(g) : 0;
}

void CModWholeNode::passOn(const CAudioChannel& in, int32_t index, int32_t group, int32_t latency) {
    CAudioChannel out = in;
    out.index = index;
    out.group = group;
    out.latency = latency;
    out.port = 0;
    out.sampleRate = m_sampleRate;
    CSampleBufferPool::addRef(out.buffer);
    setOutput(out);
}

}  // namespace orl
