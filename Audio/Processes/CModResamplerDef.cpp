#include "Audio/Processes/CModResamplerDef.h"

#include "Audio/Processes/CModResampler.h"
#include "Audio/Processes/COversamplingRegistration.h"
#include "Core/CError.h"

namespace orl {

CModResamplerDef::CModResamplerDef() { (void)COversamplingRegistration::ensureCreatorsRegistered(); }

CError* CModResamplerDef::init() {
    if (CError* err = CAudioProcessDefBase::init()) return ORL_PASS(err, fullName());
    m_upsampler = getAttrBool(CString("is-upsampler"));
    return nullptr;
}

CAudioProcessBase* CModResamplerDef::createProcess() const { return new CModResampler(); }

// The shared definitions stand beside the graph in the shared tree, possibly after it, so they
// are found when a resampler first builds a stage.
const CAudioProcessDefBase* CModResamplerDef::lookup(const char* path, const CAudioProcessDefBase*& cache) const {
    if (!cache) cache = dynamic_cast<const CAudioProcessDefBase*>(findObject(CString(path)));
    return cache;
}

const CAudioProcessDefBase* CModResamplerDef::rateChanger() const {
    return lookup(m_upsampler ? "shared::audio.modUpsamplerInterpolator" : "shared::audio.modDownsamplerDecimator",
                  m_rateChanger);
}

const CAudioProcessDefBase* CModResamplerDef::steepFilter() const {
    return lookup(m_upsampler ? "shared::audio.modUpsamplerFilterSteep" : "shared::audio.modDownsamplerFilterSteep",
                  m_steep);
}

const CAudioProcessDefBase* CModResamplerDef::softFilter() const {
    return lookup("shared::audio.modResamplerFilterSoft", m_soft);
}

}  // namespace orl
