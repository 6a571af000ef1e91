#pragma once

namespace orl {

// The tags of the level detectors ("audio:modAbs", "audio:modLeveler", "audio:modRMS").
class CDetectorRegistration {
public:
    // Registers the tags once; true when they are registered. A static initialiser calls it, and
    // so does the constructor of each detector definition: the reference from the definitions
    // keeps the table in a static link of the library.
    static bool ensureCreatorsRegistered();
};

}  // namespace orl
