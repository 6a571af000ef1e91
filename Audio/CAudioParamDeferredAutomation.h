#pragma once
#include <cstddef>
#include <cstdint>

namespace orl {

class CAudioExtParamHostBridge;

// Host notifications that wait until no parameter of the instance is locked, in the order they
// were raised. Nodes come from the pool allocator. Not locked: the owner guards it.
class CAudioParamDeferredAutomation {
public:
    CAudioParamDeferredAutomation() = default;
    ~CAudioParamDeferredAutomation() { clear(); }
    CAudioParamDeferredAutomation(const CAudioParamDeferredAutomation&) = delete;
    CAudioParamDeferredAutomation& operator=(const CAudioParamDeferredAutomation&) = delete;
    CAudioParamDeferredAutomation(CAudioParamDeferredAutomation&& other) noexcept;
    CAudioParamDeferredAutomation& operator=(CAudioParamDeferredAutomation&& other) noexcept;

    void append(CAudioExtParamHostBridge* bridge, int32_t extIndex, double value);
    bool isEmpty() const { return m_head == nullptr; }
    // Calls each bridge in order and empties the list.
    void deliver();
    void clear();

private:
    struct CItem {
        CAudioExtParamHostBridge* bridge;
        int32_t extIndex;
        double value;
        CItem* next;
        static void* operator new(size_t size);
        static void operator delete(void* p);
    };
    CItem* m_head = nullptr;
    CItem* m_tail = nullptr;
};

}  // namespace orl
