#pragma once
#include <cstdint>

#include "Audio/Filters/CDCDAWContextWorkspace.h"

namespace orl {

class CAudioFilterList;
struct CAudioFilterDesc;
struct CFilterKernels;

// A channel's filter program: a short list of operations that run over a block one after the
// other, each on its own coefficient and state block. Built and changed on the control path
// from a generator's filter list, run on the signal path without allocation.
class CDCDAWFilterWorkspace {
public:
    static constexpr int32_t kMaxOps = 8;
    // Every coefficient change of a running biquad glides over this long.
    static constexpr double kGlideSeconds = 0.025;

    CDCDAWFilterWorkspace();

    // Builds the program for a list: each biquad set up with no glide (DCDAW_fltbiqi), each
    // half-band with its coefficients (DCDAW_flthbfNi), all state cleared. Filters beyond
    // kMaxOps are left out; false then.
    bool build(const CAudioFilterList& list, double sampleRate);
    // Whether a list has the program's shape: same count, and at each place the same kind,
    // biquad form or half-band size. A list of that shape can be installed with change().
    bool sameShape(const CAudioFilterList& list) const;
    // Installs a list of the same shape in the running program: a biquad whose coefficients
    // differ glides to them (DCDAW_fltbiqu), a half-band whose coefficients differ starts over.
    void change(const CAudioFilterList& list);
    // Clears all filter state; a glide in progress ends at the newest coefficients.
    void resetState();
    // Runs the program; out may be in. With no operations out is a copy of in.
    void run(const double* in, double* out, int32_t count);

    int32_t count() const { return m_count; }
    const CDCDAWContextWorkspace& op(int32_t i) const { return m_ops[i]; }
    // The kernel table in use; tests set the other build to compare them.
    void setKernels(const CFilterKernels* kernels) { m_kernels = kernels; }

    // The operations on one block, as named in the program.
    // DCDAW_fltbiqi: the coefficients at once, state cleared, no glide.
    static void biquadInit(CFilterBiquadBlock& block, const double coeffs[5], double sampleRate);
    // DCDAW_fltbiqu: a glide to new coefficients, or, with one running, the waiting set.
    static void biquadUpdate(CFilterBiquadBlock& block, const double coeffs[5]);
    // DCDAW_flthbf2i to DCDAW_flthbf16i: coefficients copied, state cleared.
    static void halfBandInit(CFilterHalfBandBlock& block, const CAudioFilterDesc& desc);

private:
    CDCDAWContextWorkspace m_ops[kMaxOps];
    int32_t m_count = 0;
    const CFilterKernels* m_kernels;
};

}  // namespace orl
