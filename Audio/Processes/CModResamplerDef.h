#pragma once
#include "Audio/CAudioProcessDefBase.h"

namespace orl {

// The definition of a resampler (`audio:modResampler`), up (`is-upsampler`) or down. The
// stages it builds come from the shared definitions of the interpolator, the decimator and the
// two kinds of filter switch (steep at the lowest rate, soft above it).
class CModResamplerDef : public CAudioProcessDefBase {
public:
    CModResamplerDef();
    CError* init() override;
    CAudioProcessBase* createProcess() const override;

    bool isUpsampler() const { return m_upsampler; }
    // The shared stage definitions; null when missing from the definitions.
    const CAudioProcessDefBase* rateChanger() const;
    const CAudioProcessDefBase* steepFilter() const;
    const CAudioProcessDefBase* softFilter() const;

private:
    const CAudioProcessDefBase* lookup(const char* path, const CAudioProcessDefBase*& cache) const;

    bool m_upsampler = false;
    mutable const CAudioProcessDefBase* m_rateChanger = nullptr;
    mutable const CAudioProcessDefBase* m_steep = nullptr;
    mutable const CAudioProcessDefBase* m_soft = nullptr;
};

}  // namespace orl
