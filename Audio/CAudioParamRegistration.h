#pragma once

namespace orl {

// The tags of the parameter side: declarations ("audio:param"), shared storage, and the
// host-visible parameters with their list and controller table.
class CAudioParamRegistration {
public:
    // Registers the tags once; true when they are registered. A static initialiser calls it, and so
    // does the constructor of every declaration: the reference keeps the table in a static link
    // of the library.
    static bool ensureCreatorsRegistered();
};

}  // namespace orl
