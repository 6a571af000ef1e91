#include "Core/CEventBus.h"

#include <atomic>

#include "Core/CError.h"
#include "Core/CObject.h"
#include "Core/CObjectEventBridge.h"
#include "Core/CPoolAllocator.h"
#include "Platform/CPlatformClock.h"

namespace orl {

namespace {

std::atomic<uint32_t> g_nextBusId{1};

// Buses alive now, by number; never destroyed, so that late threads can still ask.
struct CLiveBuses {
    CCriticalSection lock;
    CSet<uint32_t> ids;
};
CLiveBuses& liveBuses() {
    static auto* buses = new CLiveBuses();
    return *buses;
}

// The reserved keys of an event's parameters, made once.
struct CEventKeys {
    CString sender{"sender"};
    CString eventName{"event-name"};
    CString listener{"listener"};
    CString listenerId{"listener-id"};
    CString listenerProc{"listener-proc"};
};
const CEventKeys& keys() {
    static const CEventKeys* k = new CEventKeys();
    return *k;
}

}  // namespace

void* CEventBus::operator new(size_t size) { return CPoolAllocator::allocate(size); }
void CEventBus::operator delete(void* p) { CPoolAllocator::release(p); }

CEventBus::CEventBus() : m_id(g_nextBusId.fetch_add(1)) {
    CCriticalSectionLock hold(liveBuses().lock);
    liveBuses().ids.insert(m_id);
}

CEventBus::~CEventBus() {
    {
        CCriticalSectionLock hold(liveBuses().lock);
        liveBuses().ids.erase(m_id);
    }
    for (auto& [name, sender] : m_senders) delete sender;
}

bool CEventBus::isLive(uint32_t id) {
    CCriticalSectionLock hold(liveBuses().lock);
    return liveBuses().ids.count(id) > 0;
}

int32_t CEventBus::takeObjectId() {
    CCriticalSectionLock hold(m_idLock);
    return m_nextObjectId++;
}

CEventBus::CSender* CEventBus::acquire(const CString& name, bool create) {
    CCriticalSectionLock hold(m_sendersLock);
    auto it = m_senders.find(name);
    CSender* sender = it == m_senders.end() ? nullptr : it->second;
    if (!sender && create) {
        sender = new CSender();
        sender->name = name;
        m_senders[name] = sender;
    }
    if (sender) ++sender->useCount;
    return sender;
}

void CEventBus::releaseSender(CSender* sender) {
    CCriticalSectionLock hold(m_sendersLock);
    if (--sender->useCount > 0) return;
    m_senders.erase(sender->name);
    delete sender;
}

void CEventBus::listen(const CString& senderName, const CString& event, CObject* listener, const CEventEntry& entry,
                       const CString& procName) {
    CSender* sender = acquire(senderName, true);
    sender->lock.enter();
    auto& listeners = sender->events[event];
    const bool isNew = listeners.find(listener) == listeners.end();
    listeners[listener] = CRegistration{entry, procName};
    sender->lock.leave();
    // A registration holds the record as long as it exists; listening again replaces it.
    if (!isNew) releaseSender(sender);
}

void CEventBus::unlisten(const CString& senderName, const CString& event, CObject* listener) {
    CSender* sender = acquire(senderName, false);
    if (!sender) return;
    bool removed = false;
    sender->lock.enter();
    auto ev = sender->events.find(event);
    if (ev != sender->events.end()) {
        removed = ev->second.erase(listener) > 0;
        if (ev->second.empty()) sender->events.erase(ev);
    }
    for (CDeferred& item : sender->queue) {
        if (item.listener == listener) item.cancelled = true;
    }
    sender->lock.leave();
    if (removed) releaseSender(sender);
    releaseSender(sender);
}

CError* CEventBus::fire(const CString& senderName, const CString& event, CAttrMap& params, bool forceBridge) {
    CSender* sender = acquire(senderName, false);
    if (!sender) return nullptr;
    params[keys().sender].setString(senderName);
    params[keys().eventName].setString(event);
    const uint32_t me = CPlatformClock::currentThreadId();
    CError* err = nullptr;
    sender->lock.enter();
    auto ev = sender->events.find(event);
    if (ev != sender->events.end()) {
        for (auto& [listener, registration] : ev->second) {
            uint32_t ownerThread = 0;
            CObjectEventBridge* bridge = listener->ownerBridge(&ownerThread);
            if (!bridge) continue;  // no owner: such a listener hears nothing
            if (!forceBridge && ownerThread == me) {
                sender->queue.add(CDeferred{listener, registration.entry, me, false});
                continue;
            }
            params[keys().listener].setString(listener->fullName());
            params[keys().listenerId].setInt(listener->objectId());
            params[keys().listenerProc].setString(registration.procName);
            if ((err = bridge->post(params))) break;
        }
    }
    sender->lock.leave();
    if (!err) err = drain(sender, params);
    releaseSender(sender);
    return err;
}

CError* CEventBus::drain(CSender* sender, CAttrMap& params) {
    // Each thread runs only the items it queued; another thread's items wait for that thread.
    const uint32_t me = CPlatformClock::currentThreadId();
    CError* err = nullptr;
    sender->lock.enter();
    for (;;) {
        int32_t found = -1;
        for (int32_t i = sender->readIndex; i < sender->queue.count(); ++i) {
            if (!sender->queue[i].cancelled && sender->queue[i].thread == me) {
                found = i;
                break;
            }
        }
        if (found < 0) break;
        const CDeferred item = sender->queue[found];
        sender->queue[found].cancelled = true;
        while (sender->readIndex < sender->queue.count() && sender->queue[sender->readIndex].cancelled)
            ++sender->readIndex;
        if (sender->readIndex == sender->queue.count()) {
            sender->queue.clear();
            sender->readIndex = 0;
        }
        // The lock stays held: a handler may fire again or listen on this sender (recursive).
        err = item.entry.takesParams ? item.entry.procWithParams(item.listener, params) : item.entry.proc(item.listener);
        if (err) {
            for (CDeferred& rest : sender->queue) {
                if (rest.thread == me) rest.cancelled = true;
            }
            break;
        }
    }
    sender->lock.leave();
    return err;
}

}  // namespace orl
