#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <vector>

#include "Audio/Filters/CAudioFilterFIRLPGen.h"
#include "Audio/Filters/CAudioFilterList.h"
#include "Audio/Filters/CDCDAWFilterWorkspace.h"
#include "Audio/Filters/CFFTConvolverKernel.h"
#include "Audio/Filters/CFFTConvolverState.h"
#include "Audio/Filters/CFilterKernels.h"

using namespace orl;

namespace {

constexpr double kRate = 48000.0;
constexpr int32_t kBlock = 512;

std::vector<double> noise(uint32_t seed) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> d(-1.0, 1.0);
    std::vector<double> v(static_cast<size_t>(kRate));
    for (double& x : v) x = d(rng);
    return v;
}

// A peaking biquad at 1 kHz, +6 dB, Q 1 (general form) or a low-pass at 5 kHz, Q 0.707.
CAudioFilterDesc biquad(bool lowPass, double shift = 0.0) {
    CAudioFilterDesc d;
    d.kind = CAudioFilterDesc::kBiquad;
    if (lowPass) {
        d.form = CAudioFilterDesc::kFormLowPass;
        const double c[5] = {0.07221 + shift, 0.14442, 0.07221, 1.10926, -0.39811};
        for (int i = 0; i < 5; ++i) d.coeffs[i] = c[i];
    } else {
        d.form = CAudioFilterDesc::kFormCommon;
        const double c[5] = {1.04398 + shift, -1.89535, 0.86772, 1.89535, -0.91170};
        for (int i = 0; i < 5; ++i) d.coeffs[i] = c[i];
    }
    return d;
}

// The two oversampling designs.
CAudioFilterDesc halfBand(bool steep) {
    static const double a10[] = {0.017201989192148732, 0.143436416471937580, 0.347900769631093840,
                                 0.577350269189625730, 0.810517970072601620};
    static const double b10[] = {0.066817741883400714, 0.239667767835860080, 0.461816363311925440,
                                 0.693116558427877340, 0.933859775291256300};
    static const double a8[] = {0.019747343511862459, 0.165764431496057320, 0.410524501083486150,
                                0.716052980533127600};
    static const double b8[] = {0.076874187035829891, 0.279173852149949330, 0.555973057893185520,
                                0.897254635373222920};
    CAudioFilterDesc d;
    d.kind = CAudioFilterDesc::kHalfBand;
    d.sections = steep ? 5 : 4;
    for (int i = 0; i < d.sections; ++i) {
        d.a[i] = steep ? a10[i] : a8[i];
        d.b[i] = steep ? b10[i] : b8[i];
    }
    return d;
}

enum EKind { kPeak, kLowPass, kHislope, kPeakGliding, kHbf10, kHbf8 };

// One channel, blocks of 512; the figure is CPU time per second of 48 kHz audio (48,000 samples
// through the program; a half-band in the resamplers runs at twice the host rate).
void runProgram(benchmark::State& state, const CFilterKernels* kernels, EKind kind) {
    if (!kernels) {
        state.SkipWithError("no AVX2 and FMA on this processor");
        return;
    }
    CAudioFilterList list, other;
    switch (kind) {
        case kPeak: *list.add() = biquad(false); break;
        case kLowPass: *list.add() = biquad(true); break;
        case kHislope:
            *list.add() = biquad(false);
            *list.add() = biquad(false);
            break;
        case kPeakGliding:
            *list.add() = biquad(false);
            *other.add() = biquad(false, 0.01);
            break;
        case kHbf10: *list.add() = halfBand(true); break;
        case kHbf8: *list.add() = halfBand(false); break;
    }
    CDCDAWFilterWorkspace ws;
    ws.setKernels(kernels);
    ws.build(list, kRate);
    const std::vector<double> in = noise(1);
    std::vector<double> out(kBlock);
    size_t pos = 0;
    bool flip = false;
    for (auto _ : state) {
        // Gliding all the time: a new set every 25 ms, so every sample runs both filters.
        if (kind == kPeakGliding && ws.op(0).biquad.fadeLeft == 0) {
            ws.change(flip ? list : other);
            flip = !flip;
        }
        ws.run(in.data() + pos, out.data(), kBlock);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
        pos += kBlock;
        if (pos + kBlock > in.size()) pos = 0;
    }
    state.counters["cpu_per_audio_s"] =
        benchmark::Counter(kBlock / kRate, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
    state.SetItemsProcessed(state.iterations() * kBlock);
}

void BM_FilterBiquadPeakPlain(benchmark::State& s) { runProgram(s, &CFilterKernels::plain(), kPeak); }
void BM_FilterBiquadPeakAvx2(benchmark::State& s) { runProgram(s, CFilterKernels::avx2(), kPeak); }
void BM_FilterBiquadLowPassPlain(benchmark::State& s) { runProgram(s, &CFilterKernels::plain(), kLowPass); }
void BM_FilterBiquadLowPassAvx2(benchmark::State& s) { runProgram(s, CFilterKernels::avx2(), kLowPass); }
void BM_FilterHislopePlain(benchmark::State& s) { runProgram(s, &CFilterKernels::plain(), kHislope); }
void BM_FilterHislopeAvx2(benchmark::State& s) { runProgram(s, CFilterKernels::avx2(), kHislope); }
void BM_FilterBiquadGlidingPlain(benchmark::State& s) { runProgram(s, &CFilterKernels::plain(), kPeakGliding); }
void BM_FilterBiquadGlidingAvx2(benchmark::State& s) { runProgram(s, CFilterKernels::avx2(), kPeakGliding); }
void BM_FilterHalfBand10Plain(benchmark::State& s) { runProgram(s, &CFilterKernels::plain(), kHbf10); }
void BM_FilterHalfBand10Avx2(benchmark::State& s) { runProgram(s, CFilterKernels::avx2(), kHbf10); }
void BM_FilterHalfBand8Plain(benchmark::State& s) { runProgram(s, &CFilterKernels::plain(), kHbf8); }
void BM_FilterHalfBand8Avx2(benchmark::State& s) { runProgram(s, CFilterKernels::avx2(), kHbf8); }
BENCHMARK(BM_FilterBiquadPeakPlain);
BENCHMARK(BM_FilterBiquadPeakAvx2);
BENCHMARK(BM_FilterBiquadLowPassPlain);
BENCHMARK(BM_FilterBiquadLowPassAvx2);
BENCHMARK(BM_FilterHislopePlain);
BENCHMARK(BM_FilterHislopeAvx2);
BENCHMARK(BM_FilterBiquadGlidingPlain);
BENCHMARK(BM_FilterBiquadGlidingAvx2);
BENCHMARK(BM_FilterHalfBand10Plain);
BENCHMARK(BM_FilterHalfBand10Avx2);
BENCHMARK(BM_FilterHalfBand8Plain);
BENCHMARK(BM_FilterHalfBand8Avx2);

// The linear-phase oversampling filters: kernel designed for 44.1 kHz (`fixsr`), run by the
// partitioned convolution at the rate the filter sees in the resampler chain. One channel; a
// host block of 512 samples at 48 kHz is `factor` times as many samples there, so the figure
// is again CPU time per second of 48 kHz audio.
enum EFir { kFirSteepUp, kFirSteepDown, kFirSoft };

void runFir(benchmark::State& state, const CFilterKernels* kernels, EFir which) {
    if (!kernels) {
        state.SkipWithError("no AVX2 and FMA on this processor");
        return;
    }
    struct Row {
        int32_t log2Block;
        double length, freq, beta;
        int32_t factor;
    };
    static const Row kRows[] = {{6, 0.015, 11025.0, 18.0, 2}, {7, 0.024, 10980.0, 18.0, 2}, {5, 0.0016, 12000.0, 18.4, 4}};
    const Row& r = kRows[which];
    std::vector<double> taps(static_cast<size_t>(2 * CAudioFilterFIRLPGen::halfLength(r.length, r.freq, 44100.0) + 1));
    CAudioFilterFIRLPGen::design(r.length, r.freq, r.beta, 44100.0, taps.data(), static_cast<int32_t>(taps.size()));
    CFFTConvolverKernel kernel;
    CFFTConvolverState conv;
    conv.setKernels(kernels);
    if (!kernel.setup(taps.data(), static_cast<int32_t>(taps.size()), r.log2Block) || !conv.setup(kernel)) {
        state.SkipWithError("kernel setup failed");
        return;
    }
    const int32_t n = kBlock * r.factor;
    const std::vector<double> in = noise(2);
    std::vector<double> out(static_cast<size_t>(n));
    size_t pos = 0;
    for (auto _ : state) {
        conv.process(kernel, in.data() + pos, out.data(), n);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
        pos += static_cast<size_t>(n);
        if (pos + static_cast<size_t>(n) > in.size()) pos = 0;
    }
    state.counters["cpu_per_audio_s"] =
        benchmark::Counter(kBlock / kRate, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
    state.counters["taps"] = static_cast<double>(taps.size());
    state.SetItemsProcessed(state.iterations() * n);
}

void BM_FirSteepUp2xPlain(benchmark::State& s) { runFir(s, &CFilterKernels::plain(), kFirSteepUp); }
void BM_FirSteepUp2xAvx2(benchmark::State& s) { runFir(s, CFilterKernels::avx2(), kFirSteepUp); }
void BM_FirSteepDown2xPlain(benchmark::State& s) { runFir(s, &CFilterKernels::plain(), kFirSteepDown); }
void BM_FirSteepDown2xAvx2(benchmark::State& s) { runFir(s, CFilterKernels::avx2(), kFirSteepDown); }
void BM_FirSoft4xPlain(benchmark::State& s) { runFir(s, &CFilterKernels::plain(), kFirSoft); }
void BM_FirSoft4xAvx2(benchmark::State& s) { runFir(s, CFilterKernels::avx2(), kFirSoft); }
BENCHMARK(BM_FirSteepUp2xPlain);
BENCHMARK(BM_FirSteepUp2xAvx2);
BENCHMARK(BM_FirSteepDown2xPlain);
BENCHMARK(BM_FirSteepDown2xAvx2);
BENCHMARK(BM_FirSoft4xPlain);
BENCHMARK(BM_FirSoft4xAvx2);

}  // namespace
