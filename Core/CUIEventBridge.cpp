#include "Core/CUIEventBridge.h"

#include <atomic>

#include "Core/CError.h"
#include "Core/CStdEventBridge.h"
#include "Platform/CCriticalSection.h"
#include "Platform/CRunLoop.h"

namespace orl {

namespace {

// Every live bridge with the parameter copies on their way to it.
struct CBridgeTable {
    CCriticalSection lock;
    CMap<CUIEventBridge*, CMap<uint64_t, CAttrMap*>> bridges;
    uint64_t nextSequence = 1;
};

CBridgeTable& table() {
    static auto* t = new CBridgeTable();
    return *t;
}

}  // namespace

CUIEventBridge::CUIEventBridge(CStdEventBridge* owner, CRunLoop* loop) : m_owner(owner), m_loop(loop) {
    CCriticalSectionLock hold(table().lock);
    table().bridges[this];
}

CUIEventBridge::~CUIEventBridge() {
    CMap<uint64_t, CAttrMap*> dropped;
    {
        CCriticalSectionLock hold(table().lock);
        auto it = table().bridges.find(this);
        if (it != table().bridges.end()) {
            dropped.swap(it->second);
            table().bridges.erase(it);
        }
    }
    for (auto& [sequence, params] : dropped) delete params;
}

int32_t CUIEventBridge::pendingCount() const {
    CCriticalSectionLock hold(table().lock);
    auto it = table().bridges.find(const_cast<CUIEventBridge*>(this));
    return it == table().bridges.end() ? 0 : static_cast<int32_t>(it->second.size());
}

CError* CUIEventBridge::post(const CAttrMap& params) {
    auto* copy = new CAttrMap(params);
    uint64_t sequence;
    {
        CCriticalSectionLock hold(table().lock);
        sequence = table().nextSequence++;
        table().bridges[this][sequence] = copy;
    }
    if (m_loop->post(&CUIEventBridge::deliver, this, kBridgedEventMessage, sequence)) return nullptr;
    {
        CCriticalSectionLock hold(table().lock);
        auto it = table().bridges.find(this);
        if (it != table().bridges.end()) it->second.erase(sequence);
    }
    delete copy;
    return ORL_ERROR(nullptr, m_owner->fullName(), "@orlstr_CSystem_sendEvent_PostMessage Post message error %1.",
                     CString("stopped"));
}

void CUIEventBridge::deliver(void* context, uint32_t message, uint64_t sequence) {
    if (message != kBridgedEventMessage) return;
    auto* bridge = static_cast<CUIEventBridge*>(context);
    CAttrMap* params = nullptr;
    {
        // The bridge may be gone, or be a new one at the same address: the sequence number,
        // unique in the process, tells.
        CCriticalSectionLock hold(table().lock);
        auto it = table().bridges.find(bridge);
        if (it == table().bridges.end()) return;
        auto copy = it->second.find(sequence);
        if (copy == it->second.end()) return;
        params = copy->second;
        it->second.erase(copy);
    }
    if (CError* err = bridge->m_owner->runBridgedEvent(*params)) {
        logError(err);
        deleteError(err);
    }
    delete params;
}

}  // namespace orl
