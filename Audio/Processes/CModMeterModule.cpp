#include "Audio/Processes/CModMeterModule.h"

#include <algorithm>
#include <cmath>

#include "Audio/CAudioProcessDefBase.h"
#include "Audio/CAudioProcessTerminalBase.h"
#include "Audio/CSampleBuffer.h"
#include "Other/CAudioVizDataMeter.h"

namespace orl {

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kTiny = 1e-15;

// The K weighting at any rate: a high-pass near 38 Hz and a +4 dB shelf near 1.5 kHz, given as
// angular frequencies times the rate and the arguments of their bandwidth terms.
constexpr double kHighPassOmega = 239.61223106957323;
constexpr double kHighPassSinh = 0.8809075819772038;
constexpr double kShelfOmega = 9429.912441572329;
constexpr double kShelfGain = 1.2588999027632095;
constexpr double kShelfSinh = 0.6541198751321079;

void resizeFilled(CArray<double>& array, int32_t count, double value) {
    array.clear();
    array.reserve(count);
    for (int32_t i = 0; i < count; ++i) array.add(value);
}

}  // namespace

double CModMeterModule::timeCoefficient(double seconds, double sampleRate) {
    if (!(seconds > 0.0) || !(sampleRate > 0.0)) return 1.0;
    const double w = 2.0 * kPi / (sampleRate * seconds * 1.362);
    const double y = 2.0 - std::cos(w);
    return 1.0 - y + std::sqrt(y * y - 1.0);
}

void CModMeterModule::connectPorts() {
    CVizFrameModule::connectPorts();
    const CAudioProcessDefBase* def = m_process ? m_process->def() : nullptr;
    m_isDiff = def && def->getAttrBool(CString("is-diff"));
    m_isCompression = def && def->getAttrBool(CString("is-compression"));
    m_isInverted = def && def->getAttrBool(CString("is-inverted"));
}

void CModMeterModule::resetState() {
    CVizFrameModule::resetState();
    if (m_configured) initState();
}

void CModMeterModule::update() {
    m_side = findPortChannel(1);
    bool onlyFactors = m_configured && !m_resetRequested && (m_paramChanged[kGain] || m_paramChanged[kPeakGain]);
    for (int32_t i = 0; i < kParamCount && onlyFactors; ++i) {
        if (i != kGain && i != kPeakGain && m_paramChanged[i]) onlyFactors = false;
    }
    m_gain = paramValue(kGain, 1.0);
    m_peakGain = paramValue(kPeakGain, 1.0);
    // A new factor applies to the readings from now on; the history stays.
    if (onlyFactors) return;
    m_configured = true;

    const double sr = rate();
    const bool useTime2 = paramValue(kUseTime2, 0.0) >= 0.5;
    const double rmsTime = useTime2 ? paramValue(kRmsTime2, 0.15) : paramValue(kRmsTime, 0.15);
    const double release = useTime2 ? paramValue(kRelease2, 0.0) : paramValue(kRelease, 0.0);
    const double peakTime = paramValue(kPeakTime, 1.0);
    m_useBias = paramValue(kUseBias, 0.0) >= 0.5;
    const bool loudness = paramValue(kUseEbu128, 0.0) >= 0.5;

    const int64_t subBlock = std::llround(sr / 40.0);
    m_subBlock = static_cast<int32_t>(std::max<int64_t>(1, subBlock));
    const int64_t ringSize = std::llround(peakTime * sr / m_subBlock);
    resizeFilled(m_ring, static_cast<int32_t>(std::clamp<int64_t>(ringSize, 1, 1 << 20)), 0.0);

    m_a = timeCoefficient(rmsTime, sr);
    m_c = timeCoefficient(paramValue(kBiasTime, kDefaultBiasTime), sr);
    m_b = release < 0.0001 ? 1.0 : timeCoefficient(release, sr);

    if (m_isDiff) {
        m_routine = kDiff;
    } else if (m_isCompression) {
        m_routine = kCompression;
    } else if (loudness) {
        m_routine = kLoudness;
    } else {
        m_routine = kPlain;
    }
    if (m_routine == kLoudness) {
        const int64_t n = std::llround(sr * rmsTime);
        resizeFilled(m_window, static_cast<int32_t>(std::clamp<int64_t>(n, 1, 1 << 26)), 0.0);
        designLoudnessFilters(sr);
    }
    initState();
}

void CModMeterModule::designLoudnessFilters(double sampleRate) {
    {
        const double w = kHighPassOmega / sampleRate;
        const double cw = std::cos(w);
        const double alpha = std::sin(w) * std::sinh(kHighPassSinh * w / std::sin(w));
        const double a0 = 1.0 + alpha;
        m_highPass.b0 = (1.0 + cw) / 2.0 / a0;
        m_highPass.b1 = -(1.0 + cw) / a0;
        m_highPass.b2 = (1.0 + cw) / 2.0 / a0;
        m_highPass.a1 = -2.0 * cw / a0;
        m_highPass.a2 = (1.0 - alpha) / a0;
    }
    {
        const double w = kShelfOmega / sampleRate;
        const double cw = std::cos(w);
        const double A = kShelfGain;
        const double alpha = std::sin(w) * std::sinh(kShelfSinh * w / std::sin(w));
        const double sa = 2.0 * std::sqrt(A) * alpha;
        const double a0 = (A + 1.0) - (A - 1.0) * cw + sa;
        m_shelf.b0 = A * ((A + 1.0) + (A - 1.0) * cw + sa) / a0;
        m_shelf.b1 = -2.0 * A * ((A - 1.0) + (A + 1.0) * cw) / a0;
        m_shelf.b2 = A * ((A + 1.0) + (A - 1.0) * cw - sa) / a0;
        m_shelf.a1 = 2.0 * ((A - 1.0) - (A + 1.0) * cw) / a0;
        m_shelf.a2 = ((A + 1.0) - (A - 1.0) * cw - sa) / a0;
    }
}

void CModMeterModule::initState() {
    // A gain or a ratio rests at 1 (no reduction, equal levels); a level at 0.
    const double start = (m_isDiff || m_isCompression) ? 1.0 : 0.0;
    m_meanSquare = m_meanSquare2 = m_level = m_bias = m_heldPeak = m_runPeak = start;
    for (double& v : m_ring) v = start;
    m_ringPos = m_ring.count() - 1;
    m_heldAge = m_ring.count() - 1;
    m_subBlockLeft = m_subBlock;
    m_highPass.w1 = m_highPass.w2 = 0.0;
    m_shelf.w1 = m_shelf.w2 = 0.0;
    for (double& v : m_window) v = 0.0;
    m_windowPos = 0;
    m_windowFill = 0;
    m_sum = 0.0;
    m_freshSum = 0.0;
    m_refreshLeft = m_window.count();
}

void CModMeterModule::ringStep(bool isMaximum) {
    const double p = m_runPeak;
    const int32_t size = m_ring.count();
    m_ring[m_ringPos] = p;
    m_ringPos = m_ringPos == 0 ? size - 1 : m_ringPos - 1;
    if (isMaximum ? p >= m_heldPeak : p <= m_heldPeak) {
        m_heldPeak = p;
        m_heldAge = size - 1;
    } else if (m_heldAge > 0) {
        --m_heldAge;
    } else {
        // The held value has left the window. Entries get newer going back from the position;
        // the one at the position leaves at the next step, one further back a step later.
        double best = m_ring[m_ringPos];
        int32_t bestAge = 0;
        for (int32_t j = 0; j < size; ++j) {
            int32_t idx = m_ringPos - j;
            if (idx < 0) idx += size;
            const double v = m_ring[idx];
            if (isMaximum ? v >= best : v <= best) {
                best = v;
                bestAge = j;
            }
        }
        m_heldPeak = best;
        m_heldAge = bestAge;
    }
    m_runPeak = m_routine == kLoudness ? 0.0 : m_level;
    m_subBlockLeft = m_subBlock;
}

const double* CModMeterModule::secondInput(int32_t offset) const {
    if (m_side && m_side->buffer) return m_side->buffer->data() + offset;
    if (m_inputCount > 1) return inputData(1) + offset;
    return inputData(0) + offset;
}

void CModMeterModule::runChunk(int32_t offset, int32_t count) {
    const double* x = inputData(0) + offset;
    switch (m_routine) {
        case kPlain: runPlain(x, count); break;
        case kCompression: runCompression(x, count); break;
        case kDiff: runDiff(x, secondInput(offset), count); break;
        case kLoudness: runLoudness(x, count); break;
    }
}

void CModMeterModule::runPlain(const double* x, int32_t n) {
    double ms = m_meanSquare, level = m_level, peak = m_runPeak;
    const double a = m_a, b = m_b;
    int32_t i = 0;
    while (i < n) {
        const int32_t m = std::min(n - i, m_subBlockLeft);
        for (int32_t k = i; k < i + m; ++k) {
            const double q = x[k] * x[k];
            ms += (q - ms) * a;
            if (ms > level) {
                level = ms;
            } else {
                level += (ms - level) * b;
            }
            peak = std::max(peak, std::max(q, level));
        }
        i += m;
        m_subBlockLeft -= m;
        if (m_subBlockLeft == 0) {
            m_level = level;
            m_runPeak = peak;
            ringStep(true);
            peak = m_runPeak;
        }
    }
    m_meanSquare = ms;
    m_level = level;
    m_runPeak = peak;
}

void CModMeterModule::runCompression(const double* x, int32_t n) {
    double ms = m_meanSquare, level = m_level, peak = m_runPeak, bias = m_bias;
    const double a = m_a, b = m_b, c = m_c;
    const bool useBias = m_useBias;
    int32_t i = 0;
    while (i < n) {
        const int32_t m = std::min(n - i, m_subBlockLeft);
        for (int32_t k = i; k < i + m; ++k) {
            const double q = x[k] * x[k];
            double v = q;
            if (useBias) {
                v = q / bias;
                bias += (q - bias) * c;
            }
            ms += (v - ms) * a;
            if (level > ms) {
                level = ms;
            } else {
                level += (ms - level) * b;
            }
            peak = std::min(peak, std::min(v, level));
        }
        i += m;
        m_subBlockLeft -= m;
        if (m_subBlockLeft == 0) {
            m_level = level;
            m_runPeak = peak;
            ringStep(false);
            peak = m_runPeak;
        }
    }
    m_meanSquare = ms;
    m_level = level;
    m_runPeak = peak;
    m_bias = bias;
}

void CModMeterModule::runDiff(const double* x1, const double* x2, int32_t n) {
    double ms = m_meanSquare, ms2 = m_meanSquare2;
    const double a = m_a;
    if (!m_useBias) {
        for (int32_t k = 0; k < n; ++k) {
            ms += (x1[k] * x1[k] - ms) * a;
            ms2 += (x2[k] * x2[k] - ms2) * a;
        }
        m_meanSquare = ms;
        m_meanSquare2 = ms2;
        return;
    }
    double level = m_level, peak = m_runPeak, bias = m_bias;
    const double c = m_c;
    int32_t i = 0;
    while (i < n) {
        const int32_t m = std::min(n - i, m_subBlockLeft);
        for (int32_t k = i; k < i + m; ++k) {
            ms += (x1[k] * x1[k] - ms) * a;
            ms2 += (x2[k] * x2[k] - ms2) * a;
            const double r = (kTiny + ms) / (kTiny + ms2);
            bias += (r - bias) * c;
            level = r / bias;
            peak = std::min(peak, level);
        }
        i += m;
        m_subBlockLeft -= m;
        if (m_subBlockLeft == 0) {
            m_level = level;
            m_runPeak = peak;
            ringStep(false);
            peak = m_runPeak;
        }
    }
    m_meanSquare = ms;
    m_meanSquare2 = ms2;
    m_level = level;
    m_runPeak = peak;
    m_bias = bias;
}

void CModMeterModule::runLoudness(const double* x, int32_t n) {
    const int32_t size = m_window.count();
    double* window = m_window.data();
    int32_t i = 0;
    while (i < n) {
        const int32_t m = std::min(n - i, m_subBlockLeft);
        for (int32_t k = i; k < i + m; ++k) {
            m_runPeak = std::max(m_runPeak, std::fabs(x[k]));
            const double y = m_shelf.run(m_highPass.run(x[k]));
            const double q = y * y;
            if (m_windowFill == size) {
                m_sum -= window[m_windowPos];
            } else {
                ++m_windowFill;
            }
            m_sum += q;
            window[m_windowPos] = q;
            if (++m_windowPos == size) m_windowPos = 0;
            // A fresh sum over the last window replaces the running one now and then, so that
            // rounding errors of the additions and subtractions can't pile up.
            m_freshSum += q;
            if (--m_refreshLeft == 0) {
                m_sum = m_freshSum;
                m_freshSum = 0.0;
                m_refreshLeft = size;
            }
            m_level = m_sum;
        }
        i += m;
        m_subBlockLeft -= m;
        if (m_subBlockLeft == 0) ringStep(true);
    }
}

void CModMeterModule::currentValues(double& value1, double& value2) const {
    const double gain = m_gain;
    const double peakGain = m_peakGain;
    if (m_routine == kDiff && !m_useBias) {
        value1 = std::sqrt((m_meanSquare + kTiny) / (m_meanSquare2 + kTiny)) * gain;
        value2 = value1 * peakGain;
    } else if (m_routine == kDiff || m_routine == kCompression) {
        value1 = std::sqrt(std::fabs(m_level)) * gain;
        value2 = std::sqrt(std::min(m_runPeak, m_heldPeak)) * gain * peakGain;
    } else if (m_routine == kLoudness) {
        const double n = m_window.count() > 0 ? static_cast<double>(m_window.count()) : 1.0;
        value1 = std::sqrt(std::fabs(m_level / n)) * kLoudnessScale * gain;
        value2 = std::max(m_runPeak, m_heldPeak) * gain * peakGain;
    } else {
        value1 = std::sqrt(std::fabs(m_level)) * gain;
        value2 = std::sqrt(std::max(m_runPeak, m_heldPeak)) * gain * peakGain;
    }
    if (m_isInverted) {
        value1 = 1.0 / value1;
        value2 = 1.0 / value2;
    }
}

void CModMeterModule::fillRecord(CAudioVizDataMeter& record) { currentValues(record.value1, record.value2); }

}  // namespace orl
