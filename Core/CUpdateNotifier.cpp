#include "Core/CUpdateNotifier.h"

#include <cstdint>

#include "Core/CUpdateListener.h"

namespace orl {

namespace {

constexpr int kShardCount = 64;

// Every live notifier, spread over shards by address so that unrelated notifiers rarely meet on
// one lock.
struct CNotifierShard {
    CCriticalSection lock;
    CSet<const CUpdateNotifier*> live;
};

CNotifierShard& shardOf(const CUpdateNotifier* notifier) {
    static auto* shards = new CNotifierShard[kShardCount];
    // Objects are at least 8-byte aligned: the low bits carry nothing.
    auto a = reinterpret_cast<uintptr_t>(notifier);
    a ^= a >> 17;
    a *= 0x9E3779B97F4A7C15ull;
    return shards[(a >> 32) % kShardCount];
}

}  // namespace

CUpdateNotifier::CUpdateNotifier() {
    CNotifierShard& shard = shardOf(this);
    CCriticalSectionLock hold(shard.lock);
    shard.live.insert(this);
}

CUpdateNotifier::~CUpdateNotifier() {
    CNotifierShard& shard = shardOf(this);
    CCriticalSectionLock holdShard(shard.lock);
    shard.live.erase(this);
    CCriticalSectionLock hold(m_lock);
    for (auto& [key, listeners] : m_listeners)
        for (CUpdateListener* listener : listeners) listener->notifierGone();
    m_listeners.clear();
}

bool CUpdateNotifier::isAliveLocked(const CUpdateNotifier* notifier) {
    const CSet<const CUpdateNotifier*>& live = shardOf(notifier).live;
    return live.find(notifier) != live.end();
}

CCriticalSection& CUpdateNotifier::shardLock(const CUpdateNotifier* notifier) { return shardOf(notifier).lock; }

void CUpdateNotifier::notify(const Notification& notification) {
    CCriticalSectionLock hold(m_lock);
    auto it = m_listeners.find(notification.key);
    if (it == m_listeners.end()) return;
    for (CUpdateListener* listener : it->second) listener->update(notification);
}

int32_t CUpdateNotifier::listenerCount(TKey key) const {
    CCriticalSectionLock hold(m_lock);
    auto it = m_listeners.find(key);
    return it == m_listeners.end() ? 0 : static_cast<int32_t>(it->second.size());
}

int32_t CUpdateNotifier::keyCount() const {
    CCriticalSectionLock hold(m_lock);
    return static_cast<int32_t>(m_listeners.size());
}

void CUpdateNotifier::addListener(TKey key, CUpdateListener* listener) { m_listeners[key].insert(listener); }

void CUpdateNotifier::removeListener(TKey key, CUpdateListener* listener) {
    auto it = m_listeners.find(key);
    if (it == m_listeners.end()) return;
    it->second.erase(listener);
    if (it->second.empty()) m_listeners.erase(it);
}

}  // namespace orl
