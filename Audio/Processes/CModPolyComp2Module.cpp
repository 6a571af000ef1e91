#include "Audio/Processes/CModPolyComp2Module.h"

#include <cmath>

#include "Audio/Processes/CPolyCompMath.h"

namespace orl {

CModPolyComp2Module::CModPolyComp2Module() : m_run(CPolyCompKernels::get().runFast) { m_paramCount = kParamCount; }

void CModPolyComp2Module::readParams() {
    m_attack = paramValue(kAttack, 0.01);
    m_inertia = paramValue(kInertia, 0.5);
    m_state.thresholdDb = paramValue(kThreshold, 1.0);
    m_slope = paramValue(kRatio, 0.5);
    m_knee = paramValue(kKnee, 0.0);
    m_autoGain = paramValue(kAutoGain, 1.0) >= 0.5;
    m_state.attackMult = paramInt(kAttackMult, 1);
    m_state.releaseMult = paramInt(kReleaseMult, 1);
    m_outGain1 = paramValue(kOutGain1, 1.0);
    m_outGain2 = paramValue(kOutGain2, 1.0);
    m_state.dry = paramValue(kDryMix, 0.0);
    m_state.wet = 1.0 - m_state.dry;
}

void CModPolyComp2Module::measureOutGain() {
    for (double& v : m_state.stage) v = 1.0;
    m_state.outGainTarget = 1.0;
    m_state.outGainSmooth = 1.0;
    CPolyCompMath::buildStageTable(m_state, m_attack, m_inertia, CPolyCompMath::kMeasureRate);
    double noise[kMeasureSettle + kMeasureCount];
    uint32_t seed = 0;
    for (double& v : noise) v = CPolyCompMath::noiseSample(seed);
    m_run(m_state, noise, noise, kMeasureSettle + kMeasureCount);
    double acc = 0.0;
    for (int32_t i = kMeasureSettle; i < kMeasureSettle + kMeasureCount; ++i)
        acc -= std::log(noise[i]) * CPolyCompMath::kDbPerNeper;
    m_state.outGainTarget =
        m_autoGain ? std::exp((acc / 20.0) * CPolyCompMath::kNeperPerDb) * m_outGain2 : m_outGain1;
    for (double& v : m_state.stage) v = 1.0;
}

void CModPolyComp2Module::update() {
    readParams();
    if (m_resetRequested || !m_initialised) {
        m_state.stageCount = 0;
        CPolyCompMath::setCurve(m_state, m_slope, m_knee);
        measureOutGain();
        CPolyCompMath::buildStageTable(m_state, m_attack, m_inertia, m_sampleRate);
        m_initialised = true;
        for (double& v : m_state.stage) v = 1.0;
        m_state.outGainSmooth = m_state.outGainTarget;
        return;
    }
    // Compression runs on through the change: only the new target and the new table apply.
    const int32_t oldCount = m_state.stageCount;
    double saved[CPolyCompState::kStageSlots];
    for (int32_t i = 0; i < oldCount; ++i) saved[i] = m_state.stage[i];
    const double savedOutGain = m_state.outGainSmooth;
    CPolyCompMath::setCurve(m_state, m_slope, m_knee);
    measureOutGain();
    CPolyCompMath::buildStageTable(m_state, m_attack, m_inertia, m_sampleRate);
    // A stage that the new table adds starts at the 1.0 of the measurement.
    for (int32_t i = 0; i < oldCount; ++i) m_state.stage[i] = saved[i];
    m_state.outGainSmooth = savedOutGain;
}

void CModPolyComp2Module::resetState() {
    for (double& v : m_state.stage) v = 1.0;
    m_state.outGainSmooth = m_state.outGainTarget;
}

}  // namespace orl
