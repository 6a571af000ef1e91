#pragma once
#include "Core/CString.h"

namespace orl {

class CObject;
class CError;

// What makes an object a run-time template: the class its instances get and the means to give
// an instance the prototype's attributes and, later in its life cycle, its children. The
// definition loader provides the concrete payload; an object owns its payload.
class CTemplatePayload {
public:
    virtual ~CTemplatePayload() = default;
    // Tag of the class that an instance of this template gets.
    virtual const CString& classTag() const = 0;
    // Sets the prototype's attributes on the instance, with handlers queued.
    virtual CError* applyAttributes(CObject* instance) = 0;
    // Creates the prototype's children below the instance, each with its whole life cycle.
    virtual CError* createChildren(CObject* instance) = 0;
};

}  // namespace orl
