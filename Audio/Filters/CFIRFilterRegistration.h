#pragma once

namespace orl {

// The tag of the FIR filter generator ("audio:fltgen-firlp").
class CFIRFilterRegistration {
public:
    // Registers the tag once; true when it is registered.
    static bool ensureCreatorsRegistered();
};

}  // namespace orl
