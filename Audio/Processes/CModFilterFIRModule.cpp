#include "Audio/Processes/CModFilterFIRModule.h"

#include <cmath>

#include "Audio/CAudioParamReader.h"
#include "Audio/CAudioProcessTerminalBase.h"
#include "Audio/Filters/CAudioFilterFIRLPGen.h"
#include "Audio/Filters/CAudioFilterGenArray.h"
#include "Audio/Processes/CModFilterFIRDef.h"
#include "Core/CLog.h"

namespace orl {

namespace {
const CModFilterFIRDef* filterDef(const CAudioProcessTerminalBase* process) {
    return process ? dynamic_cast<const CModFilterFIRDef*>(process->def()) : nullptr;
}
}  // namespace

void CModFilterFIRModule::bindParams() {
    // Every slot has a default of its own, so a definition may leave any of them out without
    // that being an error.
    m_paramCount = kParamCount;
    for (int32_t i = 0; i < kParamCount; ++i) {
        m_params[i] = nullptr;
        if (m_process) (void)m_process->paramForIndex(i, m_params[i]);
    }
}

// The node's rate: a module that joins a crossfade is connected before it learns the rate.
double CModFilterFIRModule::rate() const {
    return m_process && m_process->sampleRate() > 0.0 ? m_process->sampleRate() : m_sampleRate;
}

CModFilterFIRModule::CDesign CModFilterFIRModule::readDesign() const {
    CDesign d;
    const CModFilterFIRDef* def = filterDef(m_process);
    if (def && def->genArray()) {
        const int32_t index = static_cast<int32_t>(roundParam(paramValue(kIndex, kDefaultIndex)));
        d.gen = dynamic_cast<const CAudioFilterFIRLPGen*>(def->genArray()->find(index));
    }
    d.zeroLatency = def && def->isZeroLatency();
    d.rate = paramValue(kFixSR, kDefaultFixSR) >= 0.5 ? kFixedDesignRate : rate();
    d.length = paramValue(kLength, kDefaultLength);
    d.freq = paramValue(kFreq, kDefaultFreq);
    d.beta = CAudioFilterFIRLPGen::clampBeta(paramValue(kBeta, kDefaultBeta));
    const double latency = roundParam(paramValue(kLatency, kDefaultLatency));
    // A NaN fails both tests and ends at 0.
    d.log2Block = latency >= CFFTConvolverKernel::kMaxLog2Block ? CFFTConvolverKernel::kMaxLog2Block
                  : latency >= 1.0                               ? static_cast<int32_t>(latency)
                                                                 : 0;
    return d;
}

int32_t CModFilterFIRModule::latencyOf(const CDesign& d) {
    if (!d.gen) return 0;
    const int32_t n0 = CAudioFilterFIRLPGen::halfLength(d.length, d.freq, d.rate);
    if (n0 < 0 || n0 > (kMaxTaps - 1) / 2) return 0;
    const int32_t block = int32_t{1} << d.log2Block;
    return d.zeroLatency ? block : block + n0;
}

void CModFilterFIRModule::connectPorts() {
    CAudioModule::connectPorts();
    m_ownLatency = latencyOf(readDesign());
    for (int32_t o = 0; o < m_outputCount; ++o) m_outputs[o].latency += m_ownLatency;
}

void CModFilterFIRModule::applyLatency() {
    for (int32_t o = 0; o < m_outputCount && o < m_inputCount; ++o) {
        m_outputs[o].latency = m_inputs[o]->latency + m_ownLatency;
    }
}

void CModFilterFIRModule::resetState() {
    for (CFFTConvolverState& state : m_states) state.reset();
}

void CModFilterFIRModule::build(const CDesign& d) {
    m_design = d;
    m_built = true;
    m_active = false;
    m_ownLatency = 0;
    m_kernel.release();
    if (latencyOf(d) == 0) return;
    const int32_t n0 = CAudioFilterFIRLPGen::halfLength(d.length, d.freq, d.rate);
    const size_t taps = static_cast<size_t>(2 * n0 + 1);
    if (m_taps.size() < taps) m_taps.resize(taps);
    const int32_t count =
        CAudioFilterFIRLPGen::design(d.length, d.freq, d.beta, d.rate, m_taps.data(), static_cast<int32_t>(taps));
    if (count <= 0 || !m_kernel.setup(m_taps.data(), count, d.log2Block)) return;
    m_active = true;
    m_ownLatency = latencyOf(d);
}

void CModFilterFIRModule::update() {
    const int32_t count = static_cast<int32_t>(roundParam(paramValue(kCount, kDefaultCount)));
    if (count > 1 && !m_combining) {
        // Said once when the request appears, not for every update that still has it.
        CLog::log("FIR filter combining was not implemented yet!", true);
    }
    m_combining = count > 1;

    const CDesign d = readDesign();
    if (!m_built || !(d == m_design)) build(d);
    if (m_active) {
        for (int32_t i = 0; i < m_inputCount; ++i) {
            // A state of another shape starts afresh; one of the same shape keeps its history,
            // cleared only when the connections or the rate changed.
            if (!m_states[i].fits(m_kernel)) {
                (void)m_states[i].setup(m_kernel);
            } else if (m_resetRequested) {
                m_states[i].reset();
            }
        }
    }
    applyLatency();
}

}  // namespace orl
