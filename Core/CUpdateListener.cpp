#include "Core/CUpdateListener.h"

namespace orl {

CUpdateListener::~CUpdateListener() { detach(); }

CUpdateNotifier::TKey CUpdateListener::updateKey() const {
    CCriticalSectionLock hold(m_lock);
    return m_key;
}

void CUpdateListener::attach(CUpdateNotifier* notifier, CUpdateNotifier::TKey x) {
    CCriticalSectionLock hold(m_lock);
    if (CUpdateNotifier* old = m_notifier.load(std::memory_order_acquire)) {
        // The shard's lock keeps a live notifier from going while this listener leaves it; a
        // notifier that went already has cleared the pointer or is no longer in its shard.
        CCriticalSectionLock holdShard(CUpdateNotifier::shardLock(old));
        if (CUpdateNotifier::isAliveLocked(old)) {
            CCriticalSectionLock holdNotifier(old->m_lock);
            old->removeListener(m_key, this);
        }
        m_notifier.store(nullptr, std::memory_order_release);
    }
    if (!notifier) return;
    CCriticalSectionLock holdShard(CUpdateNotifier::shardLock(notifier));
    if (!CUpdateNotifier::isAliveLocked(notifier)) return;
    m_key = notifier->getUpdateKey(x);
    CCriticalSectionLock holdNotifier(notifier->m_lock);
    notifier->addListener(m_key, this);
    m_notifier.store(notifier, std::memory_order_release);
}

}  // namespace orl
