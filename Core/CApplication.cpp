#include "Core/CApplication.h"

#include <atomic>

#include "Core/CError.h"
#include "Core/CHighResTime.h"
#include "Core/CLog.h"
#include "Core/CObject.h"
#include "Core/CResourceMap.h"
#include "Core/CSystem.h"
#include "Platform/CCpuFeatures.h"
#include "Platform/CCriticalSection.h"
#include "Platform/CPlatformPaths.h"

namespace orl {

namespace {

struct CProcessState {
    CCriticalSection lock{2000, true};
    CApplication* application = nullptr;
    CString libraryPath;
    int32_t processorCount = 1;
};

// Never destroyed: threads of a host may still ask for the library's folder while the process
// ends.
CProcessState& state() {
    static auto* s = new CProcessState();
    return *s;
}

}  // namespace

CApplication::CApplication(const CSetup& setup) : m_setup(setup) {}

CApplication::~CApplication() = default;

bool CApplication::load(const CSetup& setup) {
    CProcessState& s = state();
    CCriticalSectionLock hold(s.lock);
    if (s.application) return true;

    // The counter and the processor are read once, before anything measures or picks kernels.
    (void)CHighResTime::frequency();
    s.processorCount = CPlatformPaths::processorCount();
    (void)CCpuFeatures::useAvx2Kernels();
    if (s.libraryPath.isEmpty()) s.libraryPath = CPlatformPaths::libraryPath();

    auto* application = new CApplication(setup);
    s.application = application;
    if (CError* err = application->init()) {
        s.application = nullptr;
        delete application;
        CSystem::showError(err);
        return false;
    }
    return true;
}

void CApplication::unload() {
    CProcessState& s = state();
    CCriticalSectionLock hold(s.lock);
    CApplication* application = s.application;
    if (!application) return;
    CLog::log("Finalizing application...", true);
    CObject* shared = application->m_sharedRoot;
    s.application = nullptr;
    delete application;
    if (shared) {
        if (CObject::sharedRoot() == shared) CObject::setSharedRoot(nullptr);
        shared->destroy();
    }
}

CApplication* CApplication::instance() {
    CProcessState& s = state();
    CCriticalSectionLock hold(s.lock);
    return s.application;
}

CError* CApplication::init() {
    CLog::log("Initializing application...", true);
    (void)CObject::objectDescriptors();

    for (int32_t i = 0; i < kClassTableCount; ++i) {
        TClassTable table = m_setup.classTables[i];
        if (table && !table()) CLog::logf("Class table %d was not registered whole", i + 1);
    }
    // The map builds itself from the linked-in table on first use; asking once here takes that
    // cost at load rather than in the first instance.
    const uint8_t* data = nullptr;
    uint32_t size = 0;
    (void)CResourceMap::find(CString("SharedData.xml"), data, size);

    if (!m_setup.sharedData) return nullptr;
    if (CError* err = initSharedObject(CString(m_setup.sharedData))) {
        logError(err);
        deleteError(err);
    }
    return nullptr;
}

CError* CApplication::loadRoot(CObject* root, const CString& name) {
    if (!name.isEmpty()) return root->loadXMLData(name, true);
    if (CError* err = root->init()) return err;
    if (CError* err = root->initAttrHandlers()) return err;
    return root->initChilds();
}

CError* CApplication::initSharedObject(const CString& name) {
    if (m_sharedRoot || CObject::sharedRoot()) {
        return ORL_ERROR(nullptr, CString::empty(),
                         "@orlstr_CApplication_initSharedObject Shared object already exists.");
    }
    m_sharedRoot = CObject::newRoot();
    // Published only after loading: what is finished while no shared tree exists is marked as
    // the read-only shared definitions.
    CError* err = loadRoot(m_sharedRoot, name);
    CObject::setSharedRoot(m_sharedRoot);
    return err ? ORL_PASS(err, CString::empty()) : nullptr;
}

CError* CApplication::initRootObject(CObject*& outRoot, const CString& name) {
    outRoot = nullptr;
    if (!CObject::sharedRoot()) {
        return ORL_ERROR(nullptr, CString::empty(), "@orlstr_CApplication_initRootObject No shared object created.");
    }
    CObject* root = CObject::newRoot();
    root->attachNewBus();
    if (CError* err = loadRoot(root, name)) {
        root->destroy();
        return ORL_PASS(err, CString::empty());
    }
    outRoot = root;
    return nullptr;
}

CString CApplication::libraryPath() {
    CProcessState& s = state();
    CCriticalSectionLock hold(s.lock);
    return s.libraryPath;
}

CString CApplication::libraryFolder() { return CPlatformPaths::folderOf(libraryPath()); }

void CApplication::setLibraryPath(const CString& path) {
    CProcessState& s = state();
    CCriticalSectionLock hold(s.lock);
    s.libraryPath = path;
}

int32_t CApplication::processorCount() {
    CProcessState& s = state();
    CCriticalSectionLock hold(s.lock);
    return s.processorCount;
}

}  // namespace orl
