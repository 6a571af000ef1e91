#pragma once

namespace orl {

// The tags of the routing, mid/side and simple modules ("audio:modRouter", "audio:modMSCoder",
// "audio:modDelay", "audio:modMult", "audio:modGain", "audio:modBypass", "audio:modNode",
// "audio:modOutput").
class CRoutingModulesRegistration {
public:
    // Registers the tags once; true when all of them are registered. A static initialiser calls
    // it, and so does the constructor of each of these definitions: the reference from the
    // definitions keeps the table in a static link of the library.
    static bool ensureCreatorsRegistered();
};

}  // namespace orl
