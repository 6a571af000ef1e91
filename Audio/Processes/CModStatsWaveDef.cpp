#include "Audio/Processes/CModStatsWaveDef.h"

#include "Audio/Processes/CModStatsWave.h"
#include "Audio/Processes/CVizModulesRegistration.h"

namespace orl {

CModStatsWaveDef::CModStatsWaveDef() { (void)CVizModulesRegistration::ensureCreatorsRegistered(); }

CAudioProcessBase* CModStatsWaveDef::createProcess() const { return new CModStatsWave(); }

}  // namespace orl
