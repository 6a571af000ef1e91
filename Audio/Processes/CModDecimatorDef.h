#pragma once
#include "Audio/CAudioProcessDefBase.h"

namespace orl {

// The definition of the decimator of a 2x resampling stage (`audio:modDecimator`); it has no
// parameters of its own.
class CModDecimatorDef : public CAudioProcessDefBase {
public:
    CModDecimatorDef();
    CAudioProcessBase* createProcess() const override;
};

}  // namespace orl
