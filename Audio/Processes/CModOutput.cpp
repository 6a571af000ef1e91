#include "Audio/Processes/CModOutput.h"

#include "Audio/Processes/CAudioLatencySink.h"

namespace orl {

void CModOutput::updateNode() {
    // The base step runs update only for a node that received input in this block.
    if (m_latencySink && hasInput()) m_latencySink->setLatency(m_inputLatency);
}

}  // namespace orl
