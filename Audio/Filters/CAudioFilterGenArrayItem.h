#pragma once
#include <cstdint>

#include "Core/CObject.h"

namespace orl {

class CAudioFilterGen;

// One entry of a generator array, tag "audio:fltgen-array-item": `index` and `fltgen` (the
// generator, a path from this item, defined before it).
class CAudioFilterGenArrayItem : public CObject {
public:
    CError* init() override;

    int32_t index() const { return m_index; }
    const CAudioFilterGen* generator() const { return m_gen; }

private:
    int32_t m_index = 0;
    const CAudioFilterGen* m_gen = nullptr;
};

}  // namespace orl
