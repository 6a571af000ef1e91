#pragma once
#include "Audio/CAudioProcessDefBase.h"

namespace orl {

// The definition of the interpolator of a 2x resampling stage (`audio:modInterpolator`); it has no
// parameters of its own.
class CModInterpolatorDef : public CAudioProcessDefBase {
public:
    CModInterpolatorDef();
    CAudioProcessBase* createProcess() const override;
};

}  // namespace orl
