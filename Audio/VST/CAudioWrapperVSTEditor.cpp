#include "Audio/VST/CAudioWrapperVSTEditor.h"

#include "Audio/VST/CAudioWrapperVST.h"
#include "Core/CApplication.h"
#include "Core/CAttrValue.h"
#include "Core/CClassDescriptors.h"
#include "Core/CError.h"
#include "Core/CHighResTime.h"
#include "Core/CLog.h"
#include "Core/CObject.h"
#include "Core/CResourceMap.h"
#include "Core/CSystem.h"

namespace orl {

namespace {
constexpr const char* kWindowTree = "UserInterface.xml";
}  // namespace

CAudioWrapperVSTEditor::CAudioWrapperVSTEditor(CAudioWrapperVST& owner) : m_owner(owner) {}

CAudioWrapperVSTEditor::~CAudioWrapperVSTEditor() { destroyRoot(); }

void CAudioWrapperVSTEditor::destroyRoot() {
    m_renderer = nullptr;
    if (m_uiRoot) {
        m_uiRoot->destroy();
        m_uiRoot = nullptr;
    }
}

bool CAudioWrapperVSTEditor::open(void* parent) {
    CLog::logf("Open VST UI on: %.4f s", CHighResTime::secondsSinceStart());
    if (m_uiRoot) return false;
    // The window tree is a resource of the library; while the product has none there is no
    // editor to open, which is no error to show.
    const uint8_t* data = nullptr;
    uint32_t size = 0;
    if (!CResourceMap::find(CString(kWindowTree), data, size)) {
        CLog::logf("VST UI: no resource %s", kWindowTree);
        return false;
    }
    m_parent = parent;
    CApplication* application = CApplication::instance();
    CError* err = application ? application->initRootObject(m_uiRoot, CString())
                              : ORL_ERROR(nullptr, CString::empty(),
                                          "@orlstr_CAudioWrapperVSTEditor_open_NoApp No application object created.");
    if (!err) err = m_uiRoot->setAttrPointer(CString("BaseConnectorRootPtr"), m_owner.instanceRoot(), true);
    if (!err) err = m_uiRoot->setAttrPointer(CString("ParentWindow"), parent, true);
    if (!err) err = m_uiRoot->setAttr(CString("VisualScale"), CString::format("%.17g", m_owner.uiScale()), true);
    if (!err) err = m_uiRoot->setAttr(CString("plugin-tech"), CString("VST PlugIn Technology by Steinberg"), true);
    if (!err) err = m_uiRoot->loadXMLData(CString(kWindowTree), true);
    if (!err) {
        m_renderer = m_uiRoot->findObject(CString("ui.main-window.window-renderer"));
        if (m_renderer) return true;
        err = ORL_ERROR(nullptr, CString::empty(),
                        "@orlstr_CAudioWrapperVSTEditor_open_NoRenderer No window renderer "
                        "'ui.main-window.window-renderer' found.");
    }
    CSystem::showError(ORL_PASS(err, CString::empty()));
    destroyRoot();
    m_parent = nullptr;
    return false;
}

void CAudioWrapperVSTEditor::close() {
    destroyRoot();
    m_parent = nullptr;
    m_owner.computeWindowSize();
    setRect(0, 0, static_cast<int16_t>(m_owner.windowHeight()), static_cast<int16_t>(m_owner.windowWidth()));
}

void CAudioWrapperVSTEditor::onWheel(float distance) {
    if (!m_renderer) return;
    // The renderer turns this into the view event of a wheel step under the mouse.
    CAttrMap params;
    params[CString("delta")].setInt(distance < 0.0f ? -1 : 1);
    CObject::postEvent(m_renderer, CString::empty(), CString("mouse-wheel"), params);
}

}  // namespace orl
