#pragma once
#include <cstdint>

namespace orl {

// A signal that threads wait on. A manual-reset event stays set, releasing every waiter, until
// reset() is called; an auto-reset event releases a single waiter and clears itself as it does.
class CEvent {
public:
    static constexpr uint32_t kInfinite = 0xFFFFFFFFu;

    explicit CEvent(bool manualReset = false, bool initiallySet = false);
    ~CEvent();
    CEvent(const CEvent&) = delete;
    CEvent& operator=(const CEvent&) = delete;

    void set();
    void reset();
    // Waits until the event is set or timeoutMs have passed (kInfinite waits for ever).
    // Returns false on timeout.
    bool wait(uint32_t timeoutMs);

private:
    // Room for the operating system's mutex and condition variable.
    alignas(16) unsigned char m_storage[128];
    bool m_manualReset;
    bool m_set;
};

}  // namespace orl
