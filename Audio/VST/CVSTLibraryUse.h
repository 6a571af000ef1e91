#pragma once
#include <cstdint>

namespace orl {

// The application of the library, held by every live plug-in instance: the first one loads it
// (classes, resources, the shared definitions), the last one to go unloads it. An instance
// derives from this first, so that the load comes before anything else of it and the unload
// after everything else of it is gone.
class CVSTLibraryUse {
public:
    CVSTLibraryUse();
    ~CVSTLibraryUse();
    CVSTLibraryUse(const CVSTLibraryUse&) = delete;
    CVSTLibraryUse& operator=(const CVSTLibraryUse&) = delete;

    // Instances alive in the process.
    static int32_t userCount();
};

}  // namespace orl
