#include "Audio/Processes/CModRouter.h"

#include "Audio/CSampleBufferPool.h"
#include "Audio/Kernels/CDSPKernels.h"
#include "Audio/Processes/CAudioParamWriter.h"
#include "Audio/Processes/CModRouterDef.h"

namespace orl {

const CModRouterDef* CModRouter::routerDef() const { return static_cast<const CModRouterDef*>(m_def); }

void CModRouter::addEntry(int32_t output, int32_t source) {
    if (output < 0 || output >= kMaxChannels) return;
    for (int32_t i = 0; i < m_entryCount; ++i) {
        if (m_entries[i].output == output) return;
    }
    int32_t group = static_cast<int32_t>(roundParam(paramElement(kGrouping, output, 0.0)));
    // A group outside 0..7 would fall out of every per-group table downstream.
    if (group < 0) group = 0;
    if (group >= kGroupCount) group = kGroupCount - 1;
    m_entries[m_entryCount++] = CEntry{output, group, source};
}

void CModRouter::buildTable() {
    m_entryCount = 0;
    const uint32_t inputs = m_ports[0].mask;
    if (!param(kRouting)) {
        for (uint32_t m = inputs; m; m &= m - 1) addEntry(__builtin_ctz(m), __builtin_ctz(m));
        return;
    }
    const int32_t elements = paramElementCount(kRouting);
    const bool output = m_def && routerDef()->isOutput();
    if (!output) {
        // Input channel i asks for channel r; the lowest input that asks for a channel has it.
        for (uint32_t m = inputs; m; m &= m - 1) {
            const int32_t i = __builtin_ctz(m);
            if (i >= elements) break;
            const int32_t r = static_cast<int32_t>(roundParam(paramElement(kRouting, i, 0.0))) - 1;
            if (r >= 0) addEntry(r, i);
        }
    } else {
        // Output channel e takes input r, if there is such an input.
        for (int32_t e = 0; e < elements && e < kMaxChannels; ++e) {
            const int32_t r = static_cast<int32_t>(roundParam(paramElement(kRouting, e, 0.0))) - 1;
            if (r >= 0 && r < kMaxChannels && (inputs & (1u << r))) addEntry(e, r);
        }
    }
}

void CModRouter::publishCounts() {
    if (m_entryCount == 0 || !m_def) return;
    const CString& name = routerDef()->channelCountsParam();
    if (name.isEmpty()) return;
    CAudioParamWriter* writer = CAudioParamWriter::of(m_params);
    int32_t counts[kGroupCount] = {};
    for (int32_t i = 0; i < m_entryCount; ++i) {
        const int32_t g = m_entries[i].group;
        if (g >= 0 && g < kGroupCount) ++counts[g];
    }
    for (int32_t g = 0; g < kGroupCount; ++g) {
        if (counts[g] == m_published[g]) continue;
        m_published[g] = counts[g];
        if (writer) writer->writeParamValue(name, g, static_cast<double>(counts[g]));
    }
}

void CModRouter::updateNode() {
    buildTable();
    publishCounts();
}

void CModRouter::processBlock() {
    const CPortTable& table = m_ports[0];
    if (m_entryCount == 0) {
        CAudioChannel silent;
        silent.index = 0;
        silent.group = 0;
        silent.latency = m_inputLatency;
        silent.sampleRate = m_sampleRate;
        silent.buffer = m_pool->acquire(m_sampleCount);
        CDSPKernels::get().fill(silent.buffer->data(), 0.0, m_sampleCount);
        setOutput(silent);
        return;
    }
    for (int32_t i = 0; i < m_entryCount; ++i) {
        const CEntry& e = m_entries[i];
        if (!(table.mask & (1u << e.source))) continue;
        passOn(table.channels[e.source], e.output, e.group, m_inputLatency);
    }
}

}  // namespace orl
