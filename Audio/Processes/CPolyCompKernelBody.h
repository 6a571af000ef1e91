// The gain computer's sample routine, written once and compiled once per instruction set: a
// source that includes this file defines ORL_POLYCOMP_NS (the namespace) and ORL_POLYCOMP_NAME
// (the table's name) first and gets the routines and their table `kTable` in
// orl::ORL_POLYCOMP_NS. No include guard on purpose.
#ifndef ORL_POLYCOMP_NS
#error "define ORL_POLYCOMP_NS before including CPolyCompKernelBody.h"
#endif

#include <cmath>
#include <cstring>

#include "Audio/Processes/CPolyCompKernels.h"
#include "Audio/Processes/CPolyCompMath.h"
#include "Audio/Processes/CPolyCompState.h"
#include "Audio/Processes/CPolyCompTables.h"

namespace orl::ORL_POLYCOMP_NS {

namespace {

constexpr double kDbPerNeper = CPolyCompMath::kDbPerNeper;
constexpr double kNeperPerDb = CPolyCompMath::kNeperPerDb;
constexpr int32_t kFirstCounted = 4;  // stages below this never enter the product

inline uint64_t bitsOf(double x) {
    uint64_t u;
    std::memcpy(&u, &x, sizeof u);
    return u;
}

inline double fromBits(uint64_t u) {
    double x;
    std::memcpy(&x, &u, sizeof x);
    return x;
}

// ---------------------------------------------------------------------------------------------
// The reference: the routine step by step.

void runDirect(CPolyCompState& st, const double* in, double* out, int32_t count) {
    double* const s = st.stage;
    const double* const c = st.stageCoeff;
    const int32_t n = st.stageCount;
    const int32_t f = st.slowStart;
    // Out-of-range parameters could put F below 4; the first stages still stay out.
    const int32_t releaseFrom = f > kFirstCounted ? f : kFirstCounted;
    for (int32_t j = 0; j < count; ++j) {
        double p = 1.0;
        if (st.attackMult == 0) {
            for (int32_t i = kFirstCounted; i < f; ++i) p *= s[i];
        } else {
            for (int32_t i = kFirstCounted; i < f; ++i) p *= std::sqrt(s[i]);
        }
        if (st.releaseMult == 0) {
            for (int32_t i = releaseFrom; i < n; ++i) p *= s[i] * s[i];
        } else {
            for (int32_t i = releaseFrom; i < n; ++i) p *= s[i];
        }
        const double level = std::log(in[j] * p) * kDbPerNeper - st.thresholdDb;
        const double target = std::exp(CPolyCompMath::curveDb(st, level) * kNeperPerDb);
        if (n > 0) s[0] += (target - s[0]) * c[0];
        for (int32_t i = 1; i < n; ++i) s[i] += (s[i - 1] - s[i]) * c[i];
        st.outGainSmooth += (st.outGainTarget - st.outGainSmooth) * st.outGainCoeff;
        out[j] = p * st.wet * st.outGainSmooth + st.dry;
    }
}

// ---------------------------------------------------------------------------------------------
// Short-latency log and exp, accurate to about one unit in the last place.

// ln(z). Off the fast road (zero, negative, subnormal, infinite, not a number) the library's
// log answers.
inline double fastLog(double z, const CPolyCompTables& t) {
    const uint64_t bits = bitsOf(z);
    if (bits - 0x0010000000000000ull >= 0x7FE0000000000000ull) return std::log(z);
    // z = 2^k * m with m in [0.6875, 1.375); the top bits of m pick the table entry.
    const uint64_t tmp = bits - CPolyCompTables::kLogOffset;
    const int32_t i = static_cast<int32_t>((tmp >> (52 - CPolyCompTables::kLogBits)) & (CPolyCompTables::kLogSize - 1));
    const double k = static_cast<double>(static_cast<int64_t>(tmp) >> 52);
    const double m = fromBits(bits - (tmp & 0xFFF0000000000000ull));
    const CPolyCompTables::CLogEntry& e = t.log[i];
    // |r| < 2^-8; the series to r^6 leaves an error below 2^-60.
    const double r = m * e.invC - 1.0;
    constexpr double kLn2Hi = 0x1.62e42fefa3800p-1;  // ln 2 in 43 bits: k * kLn2Hi is exact
    constexpr double kLn2Lo = 0x1.ef35793c76730p-45;
    const double hi = k * kLn2Hi + e.logC;
    const double r2 = r * r;
    const double p = (-0.5 + r * (1.0 / 3.0)) + r2 * ((-0.25 + r * 0.2) + r2 * (-1.0 / 6.0));
    return hi + (k * kLn2Lo + r + r2 * p);
}

// exp(t). Beyond +-700 (and for a t that isn't a number) the library's exp answers.
inline double fastExp(double t, const CPolyCompTables& tab) {
    if (!(std::fabs(t) < 700.0)) return std::exp(t);
    constexpr double kScale = CPolyCompTables::kExpSize / 0.6931471805599453;
    constexpr double kShift = 0x1.8p52;  // adding it rounds to an integer in the low bits
    constexpr double kStepHi = 0x1.62e42fefa0000p-8;  // ln 2 / 128, split
    constexpr double kStepLo = 0x1.cf79abc9e3b3ap-47;
    const double z = t * kScale + kShift;
    const int64_t ki = static_cast<int64_t>(bitsOf(z) - bitsOf(kShift));
    const double kd = z - kShift;
    const double r = (t - kd * kStepHi) - kd * kStepLo;  // |r| <= ln 2 / 256
    const uint64_t scaleBits =
        tab.exp2Bits[ki & (CPolyCompTables::kExpSize - 1)] + (static_cast<uint64_t>(ki >> CPolyCompTables::kExpBits) << 52);
    const double scale = fromBits(scaleBits);
    const double r2 = r * r;
    // The series to r^5 leaves an error below 2^-60.
    const double p = r + r2 * ((0.5 + r * (1.0 / 6.0)) + r2 * (1.0 / 24.0 + r * (1.0 / 120.0)));
    return scale + scale * p;
}

// ---------------------------------------------------------------------------------------------
// The fast form.
//
// Serial chain of the routine: the target G of one sample moves the stages, their product
// gives the next level, and the level gives the next G through log, curve and exp. The fast form
// keeps on that chain only what depends on G:
//
// - The cascade is linear. A step without input takes stage values v to v + d(v), with
//   d_i = c_i * (d_(i-1) + v_(i-1) - v_i), d_0 = -c_0 * v_0; the input G adds b_i * G, b_i the
//   product of the coefficients 0..i. The state carried from sample to sample is A = s + d(s),
//   the stages after a step with no input: then s_new = A + b * G, and, d being linear,
//   A_new = (A + d(A)) + (b + d(b)) * G. So the d recurrence runs on A a sample ahead of the
//   target, and G reaches every stage through one multiply-add. d is worked out in groups of
//   four stages (one vector), from the differences to the stage ahead through a small table of
//   coefficient products; only the carry from group to group is serial.
// - The stages enter as one number Z = prod(attack stages) * prod(release stages)^k, with
//   P = Z, or P = sqrt(Z) when the attack stages count as square roots, so that
//   ln(x * P) = ln(x) + h * ln(Z) with h = 1 or 1/2 and no root sits on the chain.
// - ln(x) of a whole chunk is taken ahead. Above the knee the target is
//   exp(m * ln10/20 * (20 log10(x) - threshold)) * Z^alpha, alpha = m * h, whose first factor
//   is taken ahead too.
// - Z moves by little from one sample to the next: with u = Z_new / Z_old - 1, ln(Z) and Z^alpha
//   are carried on by short series in u (exact to rounding for |u| <= 2^-8). The reciprocal of
//   Z is formed one sample early, off the chain. A larger step, the start of each chunk and
//   anything odd take ln(Z) and Z^alpha afresh.

constexpr int32_t kChunk = 256;
constexpr int32_t kGroup = 4;
constexpr double kSeriesLimit = 1.0 / 256.0;

// Four stages at once: one 256-bit vector in the AVX2 build, a pair of 128-bit vectors in the
// plain one. Only these helpers differ between the builds.
#if defined(__AVX2__)
typedef double CVec4 __attribute__((vector_size(32)));
typedef int64_t CIdx4 __attribute__((vector_size(32)));

inline CVec4 splat(double x) { return CVec4{x, x, x, x}; }
inline CVec4 load4(const double* p) { return CVec4{p[0], p[1], p[2], p[3]}; }
template <int kLane>
inline double lane(CVec4 v) {
    return v[kLane];
}
template <int kLane>
inline CVec4 spread(CVec4 v) {
#if defined(__clang__)
    return __builtin_shufflevector(v, v, kLane, kLane, kLane, kLane);
#else
    return __builtin_shuffle(v, CIdx4{kLane, kLane, kLane, kLane});
#endif
}
// {first, v0, v1, v2}
inline CVec4 shiftIn(CVec4 v, double first) {
#if defined(__clang__)
    CVec4 r = __builtin_shufflevector(v, v, 0, 0, 1, 2);
#else
    CVec4 r = __builtin_shuffle(v, CIdx4{0, 0, 1, 2});
#endif
    r[0] = first;
    return r;
}
#else
typedef double CVec2 __attribute__((vector_size(16)));
typedef int64_t CIdx2 __attribute__((vector_size(16)));
struct CVec4 {
    CVec2 lo, hi;
};
inline CVec4 operator+(CVec4 a, CVec4 b) { return {a.lo + b.lo, a.hi + b.hi}; }
inline CVec4 operator-(CVec4 a, CVec4 b) { return {a.lo - b.lo, a.hi - b.hi}; }
inline CVec4 operator*(CVec4 a, CVec4 b) { return {a.lo * b.lo, a.hi * b.hi}; }
inline CVec4& operator*=(CVec4& a, CVec4 b) { return a = a * b; }
inline CVec4 splat(double x) { return {CVec2{x, x}, CVec2{x, x}}; }
inline CVec4 load4(const double* p) { return {CVec2{p[0], p[1]}, CVec2{p[2], p[3]}}; }
template <int kLane>
inline double lane(CVec4 v) {
    return kLane < 2 ? v.lo[kLane & 1] : v.hi[kLane & 1];
}
template <int kLane>
inline CVec4 spread(CVec4 v) {
    const CVec2 half = kLane < 2 ? v.lo : v.hi;
#if defined(__clang__)
    const CVec2 r = __builtin_shufflevector(half, half, kLane & 1, kLane & 1);
#else
    const CVec2 r = __builtin_shuffle(half, CIdx2{kLane & 1, kLane & 1});
#endif
    return {r, r};
}
inline CVec4 shiftIn(CVec4 v, double first) {
#if defined(__clang__)
    return {CVec2{first, v.lo[0]}, __builtin_shufflevector(v.lo, v.hi, 1, 2)};
#else
    return {CVec2{first, v.lo[0]}, __builtin_shuffle(v.lo, v.hi, CIdx2{1, 2})};
#endif
}
#endif

constexpr int32_t kMaxGroups = CPolyCompState::kStageSlots / kGroup;

// The input-free part of one step of the cascade for stage values v (groups of four): the d_i
// of above, per group from the differences to the stage ahead (d_i = sum over m <= i in the
// group of c_m * ... * c_i * (v_(m-1) - v_m)) plus the carry of the group before.
// reach[g][m][k] = c_m * ... * c_k of group g, 0 for k < m.
inline void stepWithoutInput(const CVec4 (*reach)[kGroup], int32_t groups, const CVec4* v, CVec4* d) {
    double carry = 0.0;
    double last = 0.0;  // the value of the stage ahead of the group; nothing ahead of stage 0
    for (int32_t g = 0; g < groups; ++g) {
        const CVec4 x = v[g];
        const CVec4 delta = shiftIn(x, last) - x;
        const CVec4* r = reach[g];
        const CVec4 e = (r[0] * spread<0>(delta) + r[1] * spread<1>(delta)) +
                        (r[2] * spread<2>(delta) + r[3] * spread<3>(delta));
        const CVec4 dg = e + r[0] * splat(carry);
        d[g] = dg;
        carry = lane<3>(dg);
        last = lane<3>(x);
    }
}

inline double laneProduct(CVec4 v) { return (lane<0>(v) * lane<1>(v)) * (lane<2>(v) * lane<3>(v)); }

// releasePower: how often each release stage counts in Z (1, 2 or 4). Z is formed as the product
// of all counted stages times R^(releasePower - 1), R the product of the release stages.
//
// The state carried from sample to sample is A = s + d(s), the stages after a step with no
// input: then s_new = A + b G, and, d being linear, A_new = (A + d(A)) + (b + d(b)) G. So the
// cascade's recurrence runs on A ahead of the target, and G enters both through one
// multiply-add per four stages.
template <int32_t kReleasePower>
void runFastWith(CPolyCompState& st, const double* in, double* out, int32_t count) {
    const CPolyCompTables& tab = CPolyCompTables::get();
    const int32_t n = st.stageCount;
    const int32_t f = st.slowStart;
    const int32_t releaseFrom = f > kFirstCounted ? f : kFirstCounted;
    // Whole groups of four; the padding stages never move (coefficient 0, value 1). Stages 0..3
    // (never counted) are group 0, so that the counted ones start on a group.
    const int32_t groups = (n + kGroup - 1) / kGroup;
    const int32_t releaseGroup = releaseFrom / kGroup;
    CVec4 reach[kMaxGroups][kGroup];  // see stepWithoutInput
    CVec4 s[kMaxGroups], a[kMaxGroups], b[kMaxGroups], beta[kMaxGroups], rm[kMaxGroups], ro[kMaxGroups];
    CVec4 tmp[kMaxGroups];
    double fromStart = 1.0;  // c_0 * ... * c_i
    for (int32_t g = 0; g < groups; ++g) {
        alignas(32) double c[kGroup], sv[kGroup], bv[kGroup], mv[kGroup], ov[kGroup];
        for (int32_t k = 0; k < kGroup; ++k) {
            const int32_t i = g * kGroup + k;
            const bool used = i < n;
            sv[k] = used ? st.stage[i] : 1.0;
            c[k] = used ? st.stageCoeff[i] : 0.0;
            fromStart *= c[k];
            bv[k] = fromStart;
            mv[k] = i >= releaseFrom ? 1.0 : 0.0;
            ov[k] = i >= releaseFrom ? 0.0 : 1.0;
        }
        s[g] = load4(sv);
        b[g] = load4(bv);
        rm[g] = load4(mv);
        ro[g] = load4(ov);
        for (int32_t m = 0; m < kGroup; ++m) {
            alignas(32) double r[kGroup];
            double p = 1.0;
            for (int32_t k = 0; k < kGroup; ++k) {
                if (k >= m) p *= c[k];
                r[k] = k >= m ? p : 0.0;
            }
            reach[g][m] = load4(r);
        }
    }
    stepWithoutInput(reach, groups, b, tmp);
    for (int32_t g = 0; g < groups; ++g) beta[g] = b[g] + tmp[g];
    stepWithoutInput(reach, groups, s, tmp);
    for (int32_t g = 0; g < groups; ++g) a[g] = s[g] + tmp[g];

    auto combine = [](CVec4 all, CVec4 release) {
        if constexpr (kReleasePower == 1) return laneProduct(all);
        if constexpr (kReleasePower == 2) return laneProduct(all * release);
        return laneProduct((all * release) * (release * release));
    };
    auto stateProduct = [&]() {
        CVec4 all = splat(1.0), release = splat(1.0);
        for (int32_t g = 1; g < groups; ++g) {
            all *= s[g];
            release *= s[g] * rm[g] + ro[g];
        }
        return combine(all, release);
    };
    double z = stateProduct();

    const bool halfPower = st.attackMult != 0;
    const double levelScale = (halfPower ? 0.5 : 1.0) * kDbPerNeper;
    const double threshold = st.thresholdDb;
    const double kneeStart = st.kneeStart;
    const double kneeEnd = st.kneeEnd;
    const double slopeNp = st.kneeSlopeM * kNeperPerDb;
    const double alpha = slopeNp * levelScale;
    // (1 + u)^alpha = 1 + u * (a1 + a2 u + ... + a6 u^5), binomial coefficients.
    double bin[7];
    bin[0] = 1.0;
    for (int32_t k = 1; k <= 6; ++k) bin[k] = bin[k - 1] * (alpha - (k - 1)) / k;
    const double centre = st.kneeCentreY;
    const double radiusSq = st.kneeRadiusSq;
    const double wet = st.wet;
    const double dry = st.dry;
    const double ogTarget = st.outGainTarget;
    const double ogCoeff = st.outGainCoeff;
    double og = st.outGainSmooth;

    alignas(32) double level[kChunk];
    alignas(32) double ahead[kChunk];
    for (int32_t start = 0; start < count; start += kChunk) {
        const int32_t len = count - start < kChunk ? count - start : kChunk;
        const double* x = in + start;
        double* y = out + start;
        for (int32_t j = 0; j < len; ++j) level[j] = fastLog(x[j], tab) * kDbPerNeper - threshold;
        // Only used above the knee, where the level is not below 0 and the factor not above 1.
        for (int32_t j = 0; j < len; ++j) ahead[j] = fastExp(slopeNp * level[j], tab);
        double lnZ = fastLog(z, tab);
        double zPow = fastExp(alpha * lnZ, tab);
        double zInv = 1.0 / z;
        for (int32_t j = 0; j < len; ++j) {
            // Ahead of the target: the step of A without input.
            stepWithoutInput(reach, groups, a, tmp);
            if (j > 0) {
                const double u = z * zInv - 1.0;
                if (std::fabs(u) <= kSeriesLimit) {
                    const double u2 = u * u;
                    const double u4 = u2 * u2;
                    const double pw = (bin[1] + bin[2] * u) + u2 * (bin[3] + bin[4] * u) + u4 * (bin[5] + bin[6] * u);
                    zPow = zPow + (zPow * u) * pw;
                    const double ln1p = (-0.5 + u * (1.0 / 3.0)) + u2 * ((-0.25 + u * 0.2) + u2 * (-1.0 / 6.0));
                    lnZ = lnZ + (u + u2 * ln1p);
                } else {
                    lnZ = fastLog(z, tab);
                    zPow = fastExp(alpha * lnZ, tab);
                }
                zInv = 1.0 / z;
            }
            const double l = levelScale * lnZ + level[j];
            double target;
            if (!(l > kneeStart)) {
                target = 1.0;
            } else if (l >= kneeEnd) {
                target = ahead[j] * zPow;
            } else {
                const double dx = l - kneeStart;
                target = fastExp((centre + std::sqrt(radiusSq - dx * dx)) * kNeperPerDb, tab);
            }
            og += (ogTarget - og) * ogCoeff;
            y[j] = (halfPower ? std::sqrt(z) : z) * wet * og + dry;

            const CVec4 t = splat(target);
            CVec4 all = splat(1.0), release = splat(1.0);
            if (groups > 0) {
                s[0] = a[0] + b[0] * t;
                a[0] = (a[0] + tmp[0]) + beta[0] * t;
            }
            int32_t g = 1;
            const int32_t allTo = kReleasePower == 1 ? groups : releaseGroup;
            for (; g < allTo; ++g) {
                s[g] = a[g] + b[g] * t;
                a[g] = (a[g] + tmp[g]) + beta[g] * t;
                all *= s[g];
            }
            if constexpr (kReleasePower > 1) {
                for (; g < groups; ++g) {
                    s[g] = a[g] + b[g] * t;
                    a[g] = (a[g] + tmp[g]) + beta[g] * t;
                    all *= s[g];
                    release *= s[g] * rm[g] + ro[g];
                }
            }
            z = combine(all, release);
        }
    }
    for (int32_t g = 0; g < groups; ++g) {
        const double v[kGroup] = {lane<0>(s[g]), lane<1>(s[g]), lane<2>(s[g]), lane<3>(s[g])};
        for (int32_t k = 0; k < kGroup && g * kGroup + k < n; ++k) st.stage[g * kGroup + k] = v[k];
    }
    st.outGainSmooth = og;
}

void runFast(CPolyCompState& st, const double* in, double* out, int32_t count) {
    const int32_t power = (st.releaseMult == 0 ? 2 : 1) * (st.attackMult != 0 ? 2 : 1);
    if (power == 1) {
        runFastWith<1>(st, in, out, count);
    } else if (power == 2) {
        runFastWith<2>(st, in, out, count);
    } else {
        runFastWith<4>(st, in, out, count);
    }
}

}  // namespace

extern const CPolyCompKernels kTable;
const CPolyCompKernels kTable = {ORL_POLYCOMP_NAME, runDirect, runFast};

}  // namespace orl::ORL_POLYCOMP_NS
