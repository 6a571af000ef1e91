#pragma once

namespace orl {

class CAudioProcessBase;
class CAudioProcessDefBase;

// Makes the run-time node of a definition: a stack for `is-stacked` (unless the stack itself
// asks for its inner instances), otherwise what the definition's own factory makes.
CAudioProcessBase* createProcessFromDef(const CAudioProcessDefBase* def, bool fromStack);

}  // namespace orl
