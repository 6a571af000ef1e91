#pragma once
#include <cstdint>

namespace orl {

// Where the output node reports the latency that reaches it, in samples: the plug-in's
// environment, which compares it with what the host was last told.
class CAudioLatencySink {
public:
    virtual ~CAudioLatencySink() = default;
    virtual void setLatency(int32_t samples) = 0;
};

}  // namespace orl
