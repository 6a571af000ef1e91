#include "Other/CParamInterfaceBaseConnector.h"

#include "Audio/CAudioEnv.h"
#include "Core/CError.h"
#include "Other/CParamInterfaceBase.h"
#include "Other/CParamInterfaceClientConnector.h"

namespace orl {

CParamInterfaceBaseConnector::CParamInterfaceBaseConnector() = default;

CParamInterfaceBaseConnector::~CParamInterfaceBaseConnector() {
    // Clients that outlive the instance find no base any more, and their queues go.
    enterQueue();
    for (auto& [id, client] : m_clients) client->baseConnectorGone();
    m_clients.clear();
    m_queues.clear();
    m_queueLock.leave();
}

void CParamInterfaceBaseConnector::enterQueue() const {
    // Held for a few pointer moves only; spinning keeps the audio thread off the kernel.
    CAudioEnv::enterSpinning(m_queueLock);
}

void CParamInterfaceBaseConnector::setBase(CParamInterfaceBase* base) {
    CCriticalSectionLock hold(m_dataLock);
    m_base.store(base, std::memory_order_release);
}

void CParamInterfaceBaseConnector::sendToClient(int32_t clientId, CByteBuffer&& buffer) {
    enterQueue();
    if (clientId == kAllClients) {
        // A copy for all but the last, which takes the buffer itself.
        int32_t left = static_cast<int32_t>(m_queues.size());
        for (auto& [id, queue] : m_queues) {
            if (--left == 0)
                queue.push_back(static_cast<CByteBuffer&&>(buffer));
            else
                queue.push_back(buffer);
        }
    } else {
        auto it = m_queues.find(clientId);
        if (it != m_queues.end()) it->second.push_back(static_cast<CByteBuffer&&>(buffer));
    }
    m_queueLock.leave();
    // A buffer that nobody took is freed here, outside the lock.
}

CError* CParamInterfaceBaseConnector::processClientData(CParamInterfaceClientConnector& client,
                                                        const CByteBuffer& buffer) {
    CCriticalSectionLock hold(m_dataLock);
    CParamInterfaceBase* target = base();
    if (!target) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CParamInterfaceBaseConnector_processClientData_NoBaseObject No base object defined.");
    }
    if (CError* err = target->receive(client.clientId(), buffer.data(), buffer.size())) return ORL_PASS(err, fullName());
    return nullptr;
}

int32_t CParamInterfaceBaseConnector::addClient(CParamInterfaceClientConnector* client) {
    enterQueue();
    const int32_t id = m_nextClientId++;
    m_clients[id] = client;
    m_queues[id];
    m_queueLock.leave();
    return id;
}

void CParamInterfaceBaseConnector::removeClient(int32_t clientId) {
    TQueue dropped;
    enterQueue();
    m_clients.erase(clientId);
    auto it = m_queues.find(clientId);
    if (it != m_queues.end()) {
        dropped.swap(it->second);
        m_queues.erase(it);
    }
    m_queueLock.leave();
}

bool CParamInterfaceBaseConnector::takeNext(int32_t clientId, CByteBuffer& out) {
    enterQueue();
    auto it = m_queues.find(clientId);
    const bool found = it != m_queues.end() && !it->second.empty();
    if (found) {
        out = static_cast<CByteBuffer&&>(it->second.front());
        it->second.pop_front();
    }
    m_queueLock.leave();
    return found;
}

int32_t CParamInterfaceBaseConnector::clientCount() const {
    enterQueue();
    const auto n = static_cast<int32_t>(m_clients.size());
    m_queueLock.leave();
    return n;
}

int32_t CParamInterfaceBaseConnector::queuedCount(int32_t clientId) const {
    enterQueue();
    auto it = m_queues.find(clientId);
    const int32_t n = it == m_queues.end() ? 0 : static_cast<int32_t>(it->second.size());
    m_queueLock.leave();
    return n;
}

}  // namespace orl
