#pragma once
#include <atomic>

#include "Core/CUpdateNotifier.h"
#include "Platform/CCriticalSection.h"

namespace orl {

// Hears of the changes of one notifier under one key at a time. A class that implements update()
// has to detach in its own destructor: a notification on another thread may otherwise reach the
// listener after its derived part is gone.
class CUpdateListener {
public:
    CUpdateListener() = default;
    // Detaches.
    virtual ~CUpdateListener();
    CUpdateListener(const CUpdateListener&) = delete;
    CUpdateListener& operator=(const CUpdateListener&) = delete;

    virtual void update(const CUpdateNotifier::Notification& notification) = 0;

    // Leaves the notifier it was attached to (if that one still lives), then joins notifier under
    // notifier->getUpdateKey(x). A null or destroyed notifier leaves the listener detached.
    void attach(CUpdateNotifier* notifier, CUpdateNotifier::TKey x);
    void detach() { attach(nullptr, 0); }

    CUpdateNotifier* notifier() const { return m_notifier.load(std::memory_order_acquire); }
    CUpdateNotifier::TKey updateKey() const;

private:
    friend class CUpdateNotifier;
    // By a notifier that is going, under its lock.
    void notifierGone() { m_notifier.store(nullptr, std::memory_order_release); }

    mutable CCriticalSection m_lock;
    std::atomic<CUpdateNotifier*> m_notifier{nullptr};
    CUpdateNotifier::TKey m_key = 0;
};

}  // namespace orl
