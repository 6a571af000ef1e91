#pragma once
#include <cstdint>

namespace orl {

// A mutual-exclusion lock that spins a while before it blocks: most sections it guards are
// short, so a waiter usually gets in without a trip through the kernel. The recursive form lets
// the owning thread enter again; it must leave as many times as it entered.
class CCriticalSection {
public:
    explicit CCriticalSection(uint32_t spinCount = 2000, bool recursive = false);
    ~CCriticalSection();
    CCriticalSection(const CCriticalSection&) = delete;
    CCriticalSection& operator=(const CCriticalSection&) = delete;

    // Tries up to the spin count without blocking, then blocks until the section is free.
    void enter();
    // One attempt that never blocks or spins; true if the section is now held.
    bool tryEnter();
    void leave();

    uint32_t spinCount() const { return m_spinCount; }

private:
    // Room for the operating system's lock object, so that this header needs no system header.
    alignas(16) unsigned char m_storage[64];
    uint32_t m_spinCount;
};

// Holds a critical section for the lifetime of the scope.
class CCriticalSectionLock {
public:
    explicit CCriticalSectionLock(CCriticalSection& section) : m_section(section) { m_section.enter(); }
    ~CCriticalSectionLock() { m_section.leave(); }
    CCriticalSectionLock(const CCriticalSectionLock&) = delete;
    CCriticalSectionLock& operator=(const CCriticalSectionLock&) = delete;

private:
    CCriticalSection& m_section;
};

}  // namespace orl
