#pragma once
#include <cstdint>

#include "Core/CObjectEventBridge.h"

namespace orl {

class CRunLoop;
class CStdEventBridge;

// Carries events into the run loop of the thread that made it. A posted event is a copy of its
// parameters, kept in a process-wide table under a sequence number until the owning thread
// takes it; a bridge that goes takes its undelivered copies with it.
class CUIEventBridge : public CObjectEventBridge {
public:
    static constexpr uint32_t kBridgedEventMessage = 5120;

    CUIEventBridge(CStdEventBridge* owner, CRunLoop* loop);
    ~CUIEventBridge() override;

    CError* post(const CAttrMap& params) override;
    // Copies on their way, for tests.
    int32_t pendingCount() const;

private:
    static void deliver(void* context, uint32_t message, uint64_t sequence);

    CStdEventBridge* m_owner;
    CRunLoop* m_loop;
};

}  // namespace orl
