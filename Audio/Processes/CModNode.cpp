#include "Audio/Processes/CModNode.h"

namespace orl {

void CModNode::processBlock() {
    const CPortTable& table = m_ports[0];
    for (uint32_t m = table.mask; m; m &= m - 1) {
        const CAudioChannel& ch = table.channels[__builtin_ctz(m)];
        passOn(ch, ch.index, ch.group, ch.latency);
    }
}

}  // namespace orl
