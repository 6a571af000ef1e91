#include "Core/CStdEventBridge.h"

#include "Core/CError.h"
#include "Core/CUIEventBridge.h"
#include "Platform/CPlatformClock.h"
#include "Platform/CRunLoop.h"

namespace orl {

CStdEventBridge::CStdEventBridge() : m_bridge(new CUIEventBridge(this, CRunLoop::current())) {
    // The thread that makes the bridge owns the subtree from here down.
    setEventBridge(m_bridge, CPlatformClock::currentThreadId());
}

CStdEventBridge::~CStdEventBridge() {
    setEventBridge(nullptr, 0);
    delete m_bridge;
}

CError* CStdEventBridge::runBridgedEvent(CAttrMap& params) {
    auto text = [&](const char* key) -> CString {
        auto it = params.find(CString(key));
        return it == params.end() ? CString() : it->second.getString();
    };
    CObject* listener = findObject(text("listener"));
    if (!listener) return nullptr;
    auto id = params.find(CString("listener-id"));
    // A name now worn by a new object: the event was for its predecessor.
    if (id == params.end() || id->second.getInt() != listener->objectId()) return nullptr;
    return listener->runEvent(text("listener-proc"), params);
}

}  // namespace orl
