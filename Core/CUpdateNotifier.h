#pragma once
#include <cstdint>

#include "Core/CMap.h"
#include "Platform/CCriticalSection.h"

namespace orl {

class CUpdateListener;

// Tells listeners of changes, by key. Listeners attach themselves (CUpdateListener::attach); a
// notifier that goes first leaves its listeners detached, so either side may end first.
//
// Locks are taken in the order listener, registry shard, notifier. notify() holds the notifier's
// lock while listeners run: an update() must not attach or detach listeners of this notifier.
class CUpdateNotifier {
public:
    using TKey = int64_t;
    struct Notification {
        const void* source = nullptr;
        TKey key = 0;
    };

    CUpdateNotifier();
    virtual ~CUpdateNotifier();
    CUpdateNotifier(const CUpdateNotifier&) = delete;
    CUpdateNotifier& operator=(const CUpdateNotifier&) = delete;

    // The key a listener attached with x is filed under.
    virtual TKey getUpdateKey(TKey x) { return x; }

    // Calls update() of each listener of the notification's key, in pointer order, on the
    // calling thread.
    void notify(const Notification& notification);
    int32_t listenerCount(TKey key) const;
    int32_t keyCount() const;

    // True while the notifier at this address is alive. The caller holds the shard's lock
    // (shardLock) to keep it so.
    static bool isAliveLocked(const CUpdateNotifier* notifier);
    static CCriticalSection& shardLock(const CUpdateNotifier* notifier);

private:
    friend class CUpdateListener;
    // Under the notifier's lock.
    void addListener(TKey key, CUpdateListener* listener);
    void removeListener(TKey key, CUpdateListener* listener);

    mutable CCriticalSection m_lock;
    CMap<TKey, CSet<CUpdateListener*>> m_listeners;
};

}  // namespace orl
