#pragma once
#include <cstdint>

#include "Core/CByteBuffer.h"
#include "Core/COutputStream.h"

namespace orl {

// One message between the audio side and a window: the event name, then its payload, written
// with the stream primitives. The buffer starts with room for 2048 bytes, enough for nearly
// every message, and comes from the pools, so that the few senders on the audio thread don't
// enter the general allocator.
class CInterfaceMessage : public COutputStream {
public:
    static constexpr uint32_t kInitialCapacity = 2048;

    // A message whose writer writes the event name itself.
    CInterfaceMessage();
    explicit CInterfaceMessage(const char* eventName);
    ~CInterfaceMessage() override = default;
    CInterfaceMessage(const CInterfaceMessage&) = delete;
    CInterfaceMessage& operator=(const CInterfaceMessage&) = delete;

    CError* write(const void* buffer, uint32_t count) override;
    uint32_t size() const { return m_used; }
    // The message as written; the object is empty afterwards.
    CByteBuffer take();

private:
    CByteBuffer m_buffer;
    uint32_t m_used = 0;
};

}  // namespace orl
