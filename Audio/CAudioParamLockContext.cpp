#include "Audio/CAudioParamLockContext.h"

#include "Audio/CAudioParam.h"
#include "Audio/CAudioParamLockObserver.h"

namespace orl {

CAudioParamLockContext::CAudioParamLockContext(CAudioParam& param, CAudioParamLockContext* parent)
    : m_param(param), m_parent(parent) {
    if (parent && parent->covers(param)) return;
    if (CAudioParamLockObserver* observer = param.lockObserver()) observer->lockTaken();
    param.section().enter();
    m_holds = true;
}

void CAudioParamLockContext::release() {
    if (!m_holds) return;
    m_holds = false;
    m_param.section().leave();
    if (CAudioParamLockObserver* observer = m_param.lockObserver()) observer->lockReleased();
}

bool CAudioParamLockContext::covers(const CAudioParam& param) const {
    for (const CAudioParamLockContext* c = this; c; c = c->m_parent) {
        if (&c->m_param == &param && c->m_holds) return true;
    }
    return false;
}

}  // namespace orl
