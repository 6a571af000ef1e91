#pragma once
#include "Audio/CAudioProcessDefBase.h"

namespace orl {

// The definition of a junction (`audio:modNode`): several links meet in it and leave it again.
// The link resolver looks through it, joining each of its sources to each of its destinations,
// so a junction never runs and never costs a buffer copy. Where a junction is made as a node of
// its own (a graph's root, for one), it is a CModNode.
class CModNodeDef : public CAudioProcessDefBase {
public:
    bool isPassThrough() const override { return true; }
    CAudioProcessBase* createProcess() const override;
};

}  // namespace orl
