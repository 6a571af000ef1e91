#pragma once
#include <cstdint>

#include "Core/CString.h"

namespace orl {

class CError;
class CObject;

// The process-wide shell of the framework: one per loaded library. It registers the classes,
// publishes the resources and owns the shared tree of definitions that every instance reads.
// Instances get trees of their own from initRootObject.
class CApplication {
public:
    // Registers one table of classes; false when part of it failed (the table logs what).
    using TClassTable = bool (*)();
    static constexpr int32_t kClassTableCount = 5;

    // What the library hands to its load: the key text that makes its window class names unique
    // ("maker product format ", each followed by a blank), the class tables, and the tree to
    // load into the shared root (an empty name makes an empty shared root; null makes none, for
    // programs that only need the classes and resources).
    struct CSetup {
        const char* productKey = "";
        TClassTable classTables[kClassTableCount] = {};
        const char* sharedData = "SharedData.xml";
    };

    // The steps of the library's load: the counter, the processors and their features, the
    // library's own path, then the application and its init. On an error the error window
    // shows it and the load fails (false). A second load without unload does nothing.
    static bool load(const CSetup& setup);
    // Logs, deletes the application, then destroys the shared tree. Safe without a load.
    static void unload();
    static CApplication* instance();

    // Registration of the classes, the resource map, then the shared tree. An error in the
    // registration or the shared tree is logged and dropped: instances work on what stands.
    CError* init();
    // A root of its own, without event bus, for the shared tree; loaded from the named
    // definitions, or left to its stages when the name is empty. Published as the shared root
    // even when the load fails, so that what loaded stays usable.
    CError* initSharedObject(const CString& name);
    // A root with a new event bus for one instance or editor, loaded like the shared one. On
    // an error the root is destroyed and outRoot is null.
    CError* initRootObject(CObject*& outRoot, const CString& name);

    const CSetup& setup() const { return m_setup; }

    // The library's file and its folder ("/" separators, final "/").
    static CString libraryPath();
    static CString libraryFolder();
    // Set by load; tests put the library elsewhere with it.
    static void setLibraryPath(const CString& path);
    static int32_t processorCount();

private:
    explicit CApplication(const CSetup& setup);
    ~CApplication();
    CApplication(const CApplication&) = delete;
    CApplication& operator=(const CApplication&) = delete;

    // Loads a root from definitions, or runs its stages when name is empty.
    static CError* loadRoot(CObject* root, const CString& name);

    CSetup m_setup;
    CObject* m_sharedRoot = nullptr;
};

}  // namespace orl
