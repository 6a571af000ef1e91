#include "Audio/CAudioParamDeferredAutomation.h"

#include "Audio/CAudioExtParamHostBridge.h"
#include "Core/CPoolAllocator.h"

namespace orl {

void* CAudioParamDeferredAutomation::CItem::operator new(size_t size) { return CPoolAllocator::allocate(size); }

void CAudioParamDeferredAutomation::CItem::operator delete(void* p) { CPoolAllocator::release(p); }

CAudioParamDeferredAutomation::CAudioParamDeferredAutomation(CAudioParamDeferredAutomation&& other) noexcept
    : m_head(other.m_head), m_tail(other.m_tail) {
    other.m_head = other.m_tail = nullptr;
}

CAudioParamDeferredAutomation& CAudioParamDeferredAutomation::operator=(CAudioParamDeferredAutomation&& other) noexcept {
    if (this != &other) {
        clear();
        m_head = other.m_head;
        m_tail = other.m_tail;
        other.m_head = other.m_tail = nullptr;
    }
    return *this;
}

void CAudioParamDeferredAutomation::append(CAudioExtParamHostBridge* bridge, int32_t extIndex, double value) {
    auto* item = new CItem{bridge, extIndex, value, nullptr};
    if (m_tail)
        m_tail->next = item;
    else
        m_head = item;
    m_tail = item;
}

void CAudioParamDeferredAutomation::deliver() {
    CItem* item = m_head;
    m_head = m_tail = nullptr;
    while (item) {
        CItem* next = item->next;
        if (item->bridge) item->bridge->hostAutomate(item->extIndex, item->value);
        delete item;
        item = next;
    }
}

void CAudioParamDeferredAutomation::clear() {
    while (m_head) {
        CItem* next = m_head->next;
        delete m_head;
        m_head = next;
    }
    m_tail = nullptr;
}

}  // namespace orl
