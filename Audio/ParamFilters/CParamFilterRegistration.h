#pragma once

namespace orl {

// The tags of the parameter filter declarations: "audio:param-filter-bypass-group-solo",
// "audio:param-filter-bypass-ms", "audio:param-filter-bypass-os", "audio:param-filter-invert",
// "audio:param-filter-slope".
class CParamFilterRegistration {
public:
    // Registers the tags once; true when they are registered. A static initialiser calls it, and
    // so does the constructor of every declaration: the reference keeps the table in a static
    // link of the library.
    static bool ensureCreatorsRegistered();
};

}  // namespace orl
