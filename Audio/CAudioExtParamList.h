#pragma once
#include <cstdint>

#include "Core/CArray.h"
#include "Core/CObject.h"

namespace orl {

class CAudioExtParam;

// `audio:ext-param-list`: the parameters the host sees, numbered in child order. A child of
// another class takes no number.
class CAudioExtParamList : public CObject {
public:
    CError* onChildCreated(CObject* child) override;
    void removeChild(CObject* child) override;

    int32_t getCount() const { return m_params.count(); }
    // Null outside 0..count-1.
    CAudioExtParam* getParam(int32_t index) const;

private:
    CArray<CAudioExtParam*, 8> m_params;
};

}  // namespace orl
