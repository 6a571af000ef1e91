#pragma once
#include "Audio/CAudioProcessDefBase.h"

namespace orl {

// The definition of the level meter, tag "audio:modMeter". Attributes, read by each module as
// it connects: `fps` (empty: the rate the displays ask for), `is-diff`, `is-compression`,
// `is-inverted`. Allocations: 0 `peak-time`, 1 `rms-time`, 2 `gain`, 3 `bias-time`,
// 4 `use-bias`, 5 `release`, 6 `peak-gain`, 7 `rms-time2`, 8 `release2`, 9 `use-time2`,
// 10 `use-ebu128`.
class CModMeterDef : public CAudioProcessDefBase {
public:
    CModMeterDef();
    CAudioProcessBase* createProcess() const override;
};

}  // namespace orl
