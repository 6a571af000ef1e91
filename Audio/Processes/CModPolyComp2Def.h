#pragma once
#include "Audio/CAudioProcessDefBase.h"

namespace orl {

// The definition of the multi-stage gain computer, tag "audio:modPolyComp2". Its
// audio:param-alloc children bind the eleven parameter slots of CModPolyComp2Module.
class CModPolyComp2Def : public CAudioProcessDefBase {
public:
    CModPolyComp2Def();
    CAudioProcessBase* createProcess() const override;

    // Registers the tag once; true when it is registered. Static initialisation calls it, and
    // so does the constructor, which keeps the table in a static link.
    static bool ensureCreatorsRegistered();
};

}  // namespace orl
