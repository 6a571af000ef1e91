#pragma once
#include "Core/CArray.h"
#include "Core/CObject.h"

namespace orl {

// `core:attr-doubler`: copies its `value` to the attribute `attr` of every object named in
// `target` (paths separated by blanks), with their handlers run at once, whenever it changes.
// One setting can so drive several objects that don't know of each other.
class CAttrDoubler : public CObject {
public:
    CError* init() override;
    static void fillDescriptors(CClassDescriptors& descriptors);

    int32_t targetCount() const { return m_targets.count(); }

private:
    static CError* onValue(CObject* object, CAttrValue& value);

    CArray<CObject*, 4> m_targets;
};

}  // namespace orl
