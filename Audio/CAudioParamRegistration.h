#pragma once

namespace orl {

// The tag of the parameter declarations: "audio:param".
class CAudioParamRegistration {
public:
    // Registers the tag once; true when it is registered. A static initialiser calls it, and so
    // does the constructor of every declaration: the reference keeps the table in a static link
    // of the library.
    static bool ensureCreatorsRegistered();
};

}  // namespace orl
