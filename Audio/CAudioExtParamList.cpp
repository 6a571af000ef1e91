#include "Audio/CAudioExtParamList.h"

#include "Audio/CAudioExtParam.h"
#include "Core/CError.h"

namespace orl {

CError* CAudioExtParamList::onChildCreated(CObject* child) {
    if (auto* param = dynamic_cast<CAudioExtParam*>(child)) m_params.add(param);
    return CObject::onChildCreated(child);
}

void CAudioExtParamList::removeChild(CObject* child) {
    for (int32_t i = 0; i < m_params.count(); ++i) {
        if (m_params[i] == child) {
            m_params.removeAt(i);
            break;
        }
    }
    CObject::removeChild(child);
}

CAudioExtParam* CAudioExtParamList::getParam(int32_t index) const {
    return index >= 0 && index < m_params.count() ? m_params[index] : nullptr;
}

}  // namespace orl
