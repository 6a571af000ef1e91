#pragma once
#include <cstdint>

namespace orl {

// How a change of a parameter that the host automates reaches the host: the host's parameter
// of that index takes the normalised value. The collector holds these calls back until no
// parameter of the instance is locked, so that a host that calls back into the plug-in finds
// nothing held.
class CAudioExtParamHostBridge {
public:
    virtual ~CAudioExtParamHostBridge() = default;
    virtual void hostAutomate(int32_t extIndex, double norm) = 0;
};

}  // namespace orl
