#include "Other/CHeadlessInterfaceClient.h"

#include <chrono>

#include "Core/CAttrValue.h"
#include "Core/CError.h"
#include "Core/CObject.h"
#include "Other/CAudioInterfaceClient.h"
#include "Other/CInterfaceRegistration.h"
#include "Other/CParamInterfaceClientConnector.h"
#include "Other/CVizExchange.h"
#include "Platform/CRunLoop.h"

namespace orl {

namespace {

CAttrMap attrs(std::initializer_list<std::pair<const char*, CString>> list) {
    CAttrMap map;
    for (const auto& [name, text] : list) map[CString(name)].setText(text);
    return map;
}

}  // namespace

CHeadlessInterfaceClient::~CHeadlessInterfaceClient() {
    if (!m_root) return;
    // Deliveries still on their way belong to the tree; they go with it.
    CRunLoop::current()->runPending();
    m_root->destroy();
    CRunLoop::current()->runPending();
}

CError* CHeadlessInterfaceClient::create(CHeadlessInterfaceClient*& out, CObject* instanceRoot, double fps) {
    out = nullptr;
    (void)CInterfaceRegistration::ensureCreatorsRegistered();
    auto* self = new CHeadlessInterfaceClient();
    self->m_root = CObject::newRoot();
    self->m_root->attachNewBus();
    (void)self->m_root->setAttrPointer(CString("BaseConnectorRootPtr"), instanceRoot, true);

    const CString rate = doubleToAttrText(fps);
    CObject* ui = nullptr;
    CError* err = self->m_root->createChild(ui, CString("ui:ui-event-bridge"), CString("ui"));
    if (!err) {
        const CAttrMap a = attrs({{"base-connector", CString("plugin.interface-base-connector")},
                                  {"timer-tag", CString("core:timer")},
                                  {"fps", rate}});
        err = ui->createChild(self->m_connector, CString("other:param-interface-client-connector-uni"),
                              CString("interface-client-connector"), false, nullptr, &a);
    }
    if (!err) {
        const CAttrMap a = attrs({{"client-connector", CString("^interface-client-connector")},
                                  {"group-names-param", CString("plugin.modMain.io-params.group-names")}});
        err = ui->createChild(self->m_client, CString("audio:interface-client"), CString("interface-client"), false,
                              nullptr, &a);
    }
    if (!err) {
        const CAttrMap a = attrs({{"interface-client", CString("^interface-client")},
                                  {"timer-tag", CString("core:timer")},
                                  {"fps", rate},
                                  {"inactive-timeout", CString("1.0")}});
        err = ui->createChild(self->m_exchange, CString("ui:viz-exchange"), CString("viz-exchange"), false, nullptr, &a);
    }
    if (err) {
        delete self;
        return ORL_PASS(err, CString::empty());
    }
    out = self;
    return nullptr;
}

void CHeadlessInterfaceClient::pump(uint32_t ms) {
    (void)pumpUntil([] { return false; }, ms);
}

bool CHeadlessInterfaceClient::pumpUntil(const std::function<bool()>& done, uint32_t timeoutMs) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (!done()) {
        const auto now = std::chrono::steady_clock::now();
        if (now >= end) return false;
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - now).count();
        CRunLoop::current()->waitAndRun(static_cast<uint32_t>(left < 10 ? left + 1 : 10));
    }
    return true;
}

}  // namespace orl
