#pragma once
#include <atomic>
#include <cstdint>

#include "Core/CArray.h"
#include "Core/CByteBuffer.h"
#include "Core/CObject.h"
#include "Platform/CCriticalSection.h"

namespace orl {

class CParamInterfaceBaseConnector;
class CParamInterfaceClient;

// A window's end of the message road. At init it finds the base connector (through the pointer
// attribute `BaseConnectorRootPtr` of its root, which names the instance's root, or else under
// its own root) by the `base-connector` path and takes a client id. Messages to the base run
// there at once; messages from the base are collected by poll and handed to the client on the
// thread that owns this connector, through the event bridge of its tree.
class CParamInterfaceClientConnector : public CObject {
public:
    CParamInterfaceClientConnector();
    ~CParamInterfaceClientConnector() override;

    static void fillDescriptors(CClassDescriptors& descriptors);

    CError* init() override;
    void release() override;

    // Virtual operations after those of CObject.
    virtual CError* sendToBase(const CByteBuffer& buffer);
    // Moves everything queued at the base into the incoming list and asks the owning thread
    // to process it. Any thread.
    virtual void poll();
    // On the owning thread: every incoming buffer goes to the client, in order. An error ends
    // the delivery, and the buffers behind it are dropped.
    virtual CError* processBaseData();

    int32_t clientId() const { return m_clientId; }
    CParamInterfaceBaseConnector* baseConnector() const { return m_base.load(std::memory_order_acquire); }
    void setClient(CParamInterfaceClient* client);
    CParamInterfaceClient* client();
    int32_t incomingCount();

    // By the base connector as it ends.
    void baseConnectorGone() { m_base.store(nullptr, std::memory_order_release); }

private:
    static CError* onProcessBaseData(CObject* object);
    void disconnect();

    int32_t m_clientId = -1;
    std::atomic<CParamInterfaceBaseConnector*> m_base{nullptr};
    CCriticalSection m_clientLock{2000, true};
    CParamInterfaceClient* m_client = nullptr;
    CCriticalSection m_incomingLock;
    CArray<CByteBuffer, 8> m_incoming;
};

// The connector of a client in the same process as its base (tag
// "other:param-interface-client-connector-uni"). It makes its own timer, of the class that
// `timer-tag` names, at `fps` ticks per second, and polls at each tick.
class CParamInterfaceClientConnectorUni : public CParamInterfaceClientConnector {
public:
    static void fillDescriptors(CClassDescriptors& descriptors);

    CError* initChilds() override;
    CObject* timer() const { return m_timer; }

private:
    static CError* onTimer(CObject* object);
    static CError* onFps(CObject* object, CAttrValue& value);

    CObject* m_timer = nullptr;
};

}  // namespace orl
