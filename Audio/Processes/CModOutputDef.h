#pragma once
#include "Audio/CAudioProcessDefBase.h"

namespace orl {

// The definition of the graph's sink, tag "audio:modOutput".
class CModOutputDef : public CAudioProcessDefBase {
public:
    CModOutputDef();
    CAudioProcessBase* createProcess() const override;
};

}  // namespace orl
