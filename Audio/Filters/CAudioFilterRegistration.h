#pragma once

namespace orl {

// The tags of the filter generators ("audio:fltgen-rbj", "audio:fltgen-hbf",
// "audio:fltgen-serial", "audio:fltgen-serial-item", "audio:fltgen-array",
// "audio:fltgen-array-item").
class CAudioFilterRegistration {
public:
    // Registers the tags once; true when all of them are registered.
    static bool ensureCreatorsRegistered();
};

}  // namespace orl
