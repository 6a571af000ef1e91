#pragma once
#include "Audio/CAudioModule.h"

namespace orl {

// The magnitude of one channel: y[i] = |x[i]|. Only the sign bit is cleared (so -0.0 gives 0.0
// and a NaN keeps its payload); no parameters, no state.
class CModAbsModule : public CAudioModule {
public:
    void process();
};

}  // namespace orl
