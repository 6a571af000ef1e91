#pragma once

namespace orl {

// The tags of the visualisation side: the measuring modules ("audio:modMeter",
// "audio:modStatsWave"), the instance's collector ("audio:viz-collector") and a window's
// exchange ("ui:viz-exchange").
class CVizModulesRegistration {
public:
    // Registers the tags once; true when all of them are registered.
    static bool ensureCreatorsRegistered();
};

}  // namespace orl
