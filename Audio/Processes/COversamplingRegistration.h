#pragma once

namespace orl {

// The tags of the oversampling processes: the resampler, its interpolator and decimator, and
// the filter switch.
class COversamplingRegistration {
public:
    // Registers the tags once; true when they are registered.
    static bool ensureCreatorsRegistered();
};

}  // namespace orl
