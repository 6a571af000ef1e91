#pragma once
#include <cstdint>

#include "Core/CArray.h"
#include "Core/CObject.h"

namespace orl {

class CAudioFilterGen;
class CAudioFilterGenArrayItem;

// The generators a filter module chooses from by its `index` parameter, tag
// "audio:fltgen-array", with "audio:fltgen-array-item" children.
class CAudioFilterGenArray : public CObject {
public:
    CError* initChilds() override;

    // The generator of an index, or null when no item has it.
    const CAudioFilterGen* find(int32_t index) const;
    int32_t count() const { return m_items.count(); }

private:
    CArray<const CAudioFilterGenArrayItem*> m_items;
};

}  // namespace orl
