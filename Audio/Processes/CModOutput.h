#pragma once
#include <cstdint>

#include "Audio/Processes/CModNode.h"

namespace orl {

class CAudioLatencySink;

// The sink of the graph (`audio:modOutput`). Like a junction it keeps the channels that reach it
// as its output records, by reference, for the shell to read and release after the block; and
// it reports the latency they carry: each update with input tells the sink the node's input
// latency, which is what the host is told.
class CModOutput : public CModNode {
public:
    // Where the latency goes; the shell sets it when it makes the node. Null reports nothing.
    void setLatencySink(CAudioLatencySink* sink) { m_latencySink = sink; }
    CAudioLatencySink* latencySink() const { return m_latencySink; }

protected:
    void updateNode() override;

private:
    CAudioLatencySink* m_latencySink = nullptr;
};

}  // namespace orl
