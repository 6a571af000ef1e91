#pragma once

namespace orl {

// The tags of the audio-to-window interface: connectors, base and client.
class CInterfaceRegistration {
public:
    // Registers the tags once; true when they are registered.
    static bool ensureCreatorsRegistered();
};

}  // namespace orl
