#pragma once
#include "Core/CObject.h"

namespace orl {

class CUIEventBridge;

// Marks its subtree as owned by the thread that made it (`ui:ui-event-bridge`): events for
// listeners below it are carried to that thread's run loop.
class CStdEventBridge : public CObject {
public:
    CStdEventBridge();
    ~CStdEventBridge() override;

    // Runs an event that arrived over the bridge: finds the listener by name and runs its
    // procedure, unless the object of that name is not the one the event was meant for.
    virtual CError* runBridgedEvent(CAttrMap& params);

    CUIEventBridge* bridge() const { return m_bridge; }

private:
    CUIEventBridge* m_bridge;
};

}  // namespace orl
