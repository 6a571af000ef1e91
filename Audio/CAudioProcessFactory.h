#pragma once

#include <cstdint>

namespace orl {

class CAudioParamHost;
class CAudioProcessBase;
class CAudioProcessDefBase;
class CError;
class CSampleBufferPool;
class CString;

// Makes the run-time node of a definition: a stack for `is-stacked` (unless the stack itself
// asks for its inner instances), otherwise what the definition's own factory makes.
CAudioProcessBase* createProcessFromDef(const CAudioProcessDefBase* def, bool fromStack);

// The whole making of a node below owner (null for a root): the object, its context and
// identity, then, unless it is an inner instance of a stack, the parameter side of its
// definition, and init. On failure the node is deleted and out is null.
CError* makeProcess(CAudioProcessBase*& out, const CAudioProcessDefBase* def, bool fromStack, CAudioProcessBase* owner,
                    CSampleBufferPool* pool, CAudioParamHost* params, const CString& name, int32_t group,
                    int32_t element);

}  // namespace orl
