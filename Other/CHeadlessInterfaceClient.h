#pragma once
#include <cstdint>
#include <functional>

namespace orl {

class CAudioInterfaceClient;
class CError;
class CObject;
class CParamInterfaceClientConnectorUni;
class CVizExchange;

// A window's interface objects without a window: a tree of its own with an event bridge to the
// calling thread, the client connector and its timer, the interface client and the
// visualisation exchange, bound to an instance by that instance's root. The thread that made
// it drives it by running its run loop (pump), as a window's thread would; tests and tools use
// it to reach the audio side by the same road that an editor takes.
class CHeadlessInterfaceClient {
public:
    ~CHeadlessInterfaceClient();
    CHeadlessInterfaceClient(const CHeadlessInterfaceClient&) = delete;
    CHeadlessInterfaceClient& operator=(const CHeadlessInterfaceClient&) = delete;

    // instanceRoot is the root of the plug-in instance whose `plugin.interface-base-connector`
    // serves it; fps the rate of the connector's and the exchange's timers.
    static CError* create(CHeadlessInterfaceClient*& out, CObject* instanceRoot, double fps = 60.0);

    CAudioInterfaceClient* client() const { return m_client; }
    CParamInterfaceClientConnectorUni* connector() const { return m_connector; }
    CVizExchange* exchange() const { return m_exchange; }

    // Runs the calling thread's messages (timer ticks and deliveries) for about ms.
    void pump(uint32_t ms);
    // Runs them until done() holds or timeoutMs have passed; true when done() held.
    bool pumpUntil(const std::function<bool()>& done, uint32_t timeoutMs);

private:
    CHeadlessInterfaceClient() = default;

    CObject* m_root = nullptr;
    CParamInterfaceClientConnectorUni* m_connector = nullptr;
    CAudioInterfaceClient* m_client = nullptr;
    CVizExchange* m_exchange = nullptr;
};

}  // namespace orl
