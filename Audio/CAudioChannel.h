#pragma once
#include <cstdint>

namespace orl {

struct CSampleBuffer;

// One audio channel at a node: where it belongs and the buffer it carries in this block.
struct CAudioChannel {
    int32_t index = -1;        // internal channel number, kept along the graph
    int32_t group = 0;         // channel group, 0..7
    int32_t latency = 0;       // whole samples accumulated since the graph input
    int32_t port = 0;          // link port at the receiving node
    double sampleRate = 0.0;
    CSampleBuffer* buffer = nullptr;

    // What a node compares to see whether its connections changed.
    bool sameShape(const CAudioChannel& o) const {
        return index == o.index && group == o.group && latency == o.latency && port == o.port &&
               sampleRate == o.sampleRate;
    }
};

}  // namespace orl
