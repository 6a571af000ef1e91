#pragma once
#include "Other/CAudioVizData.h"

namespace orl {

// What the meters and the waveform statistics measure: two numbers whose meaning the source
// decides (a level and a peak, or the largest magnitude and the largest positive sample).
class CAudioVizDataMeter : public CAudioVizData {
public:
    CError* save(COutputStream& out) const override;
    CError* load(CInputStream& in) override;
    int32_t type() const override { return kMeter; }

    double value1 = 0.0;
    double value2 = 0.0;
};

}  // namespace orl
