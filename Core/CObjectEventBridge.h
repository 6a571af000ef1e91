#pragma once
#include "Core/CClassDescriptors.h"

namespace orl {

class CError;

// Carries an event to the thread that owns a subtree of objects.
class CObjectEventBridge {
public:
    virtual ~CObjectEventBridge() = default;
    // Copies the parameters and has the owning thread run the event they name. From any thread.
    virtual CError* post(const CAttrMap& params) = 0;
};

}  // namespace orl
