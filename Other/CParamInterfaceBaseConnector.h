#pragma once
#include <atomic>
#include <cstdint>
#include <deque>

#include "Core/CByteBuffer.h"
#include "Core/CMap.h"
#include "Core/CObject.h"
#include "Core/CPoolStdAllocator.h"
#include "Platform/CCriticalSection.h"

namespace orl {

class CParamInterfaceBase;
class CParamInterfaceClientConnector;

// The audio side's end of the message road between an instance and its windows. Messages from
// a client run on the base at once, on the sender's thread; messages to a client wait in that
// client's queue until the client's timer collects them. Clients are known by an id that the
// connector hands out, starting at 1; -1 addresses all of them.
//
// Locks: the data lock serialises the messages from all clients and guards the base pointer;
// the queue lock guards the client map and the queues and is a leaf, held only to move buffers,
// so that any thread (the audio thread among them) may send.
class CParamInterfaceBaseConnector : public CObject {
public:
    static constexpr int32_t kAllClients = -1;

    CParamInterfaceBaseConnector();
    ~CParamInterfaceBaseConnector() override;

    // Virtual operations after those of CObject.
    // Takes the buffer over and queues it for one client, or a copy for each client.
    virtual void sendToClient(int32_t clientId, CByteBuffer&& buffer);
    // Runs a client's message on the base: the message's event, with its payload.
    virtual CError* processClientData(CParamInterfaceClientConnector& client, const CByteBuffer& buffer);

    void setBase(CParamInterfaceBase* base);
    CParamInterfaceBase* base() const { return m_base.load(std::memory_order_acquire); }

    // ---- the clients' side ----
    // Enters a client and returns its new id.
    int32_t addClient(CParamInterfaceClientConnector* client);
    // Forgets a client and frees what waited for it.
    void removeClient(int32_t clientId);
    // The oldest buffer queued for a client; false when there is none.
    bool takeNext(int32_t clientId, CByteBuffer& out);
    int32_t clientCount() const;
    int32_t queuedCount(int32_t clientId) const;

private:
    using TQueue = std::deque<CByteBuffer, CPoolStdAllocator<CByteBuffer>>;

    void enterQueue() const;

    CCriticalSection m_dataLock{2000, true};
    mutable CCriticalSection m_queueLock;
    std::atomic<CParamInterfaceBase*> m_base{nullptr};
    CMap<int32_t, CParamInterfaceClientConnector*> m_clients;
    CMap<int32_t, TQueue> m_queues;
    int32_t m_nextClientId = 1;
};

// The connector of a base in the same process as its clients (tag
// "other:param-interface-base-connector-uni").
class CParamInterfaceBaseConnectorUni : public CParamInterfaceBaseConnector {};

}  // namespace orl
