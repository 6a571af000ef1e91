#include "Audio/Filters/CDCDAWFilterWorkspace.h"

#include <cmath>
#include <cstring>

#include "Audio/Filters/CAudioFilterList.h"
#include "Audio/Filters/CFilterKernels.h"

namespace orl {

namespace {

const char* const kBiquadNames[CAudioFilterDesc::kFormCount] = {
    "DCDAW_fltbiqcommon", "DCDAW_fltbiqlp", "DCDAW_fltbiqhp", "DCDAW_fltbiqbp", "DCDAW_fltbiqnotch",
};
const char* const kHalfBandNames[CFilterHalfBandBlock::kMaxSections] = {
    "DCDAW_flthbf2",  "DCDAW_flthbf4",  "DCDAW_flthbf6",  "DCDAW_flthbf8",
    "DCDAW_flthbf10", "DCDAW_flthbf12", "DCDAW_flthbf14", "DCDAW_flthbf16",
};

bool sameSet(const double* x, const double* y) {
    for (int32_t i = 0; i < 5; ++i) {
        if (x[i] != y[i]) return false;
    }
    return true;
}

}  // namespace

CDCDAWFilterWorkspace::CDCDAWFilterWorkspace() : m_kernels(&CFilterKernels::get()) {}

void CDCDAWFilterWorkspace::biquadInit(CFilterBiquadBlock& block, const double coeffs[5], double sampleRate) {
    block = CFilterBiquadBlock{};
    for (int32_t i = 0; i < 5; ++i) block.coeffs[i] = block.next[i] = coeffs[i];
    block.fadeLength = static_cast<int32_t>(std::lround(kGlideSeconds * sampleRate));
}

void CDCDAWFilterWorkspace::biquadUpdate(CFilterBiquadBlock& block, const double coeffs[5]) {
    if (block.fadeLength <= 0) {
        for (int32_t i = 0; i < 5; ++i) block.coeffs[i] = block.next[i] = coeffs[i];
        return;
    }
    if (block.fadeLeft > 0) {
        // A newer waiting set replaces an older one.
        for (int32_t i = 0; i < 5; ++i) block.waiting[i] = coeffs[i];
        block.hasWaiting = 1;
        return;
    }
    for (int32_t i = 0; i < 5; ++i) block.next[i] = coeffs[i];
    block.startGlide();
}

void CDCDAWFilterWorkspace::halfBandInit(CFilterHalfBandBlock& block, const CAudioFilterDesc& desc) {
    block = CFilterHalfBandBlock{};
    block.sections = desc.sections;
    for (int32_t i = 0; i < desc.sections; ++i) {
        block.a[i] = desc.a[i];
        block.b[i] = desc.b[i];
    }
}

bool CDCDAWFilterWorkspace::build(const CAudioFilterList& list, double sampleRate) {
    m_count = 0;
    for (int32_t i = 0; i < list.count(); ++i) {
        const CAudioFilterDesc& d = list[i];
        if (m_count >= kMaxOps) return false;
        CDCDAWContextWorkspace& op = m_ops[m_count];
        if (d.kind == CAudioFilterDesc::kBiquad) {
            if (d.form < 0 || d.form >= CAudioFilterDesc::kFormCount) continue;
            op.kind = CDCDAWContextWorkspace::kBiquad;
            op.variant = d.form;
            op.name = kBiquadNames[d.form];
            biquadInit(op.biquad, d.coeffs, sampleRate);
        } else {
            if (d.sections < 1 || d.sections > CFilterHalfBandBlock::kMaxSections) continue;
            op.kind = CDCDAWContextWorkspace::kHalfBand;
            op.variant = d.sections - 1;
            op.name = kHalfBandNames[d.sections - 1];
            halfBandInit(op.halfBand, d);
        }
        ++m_count;
    }
    return true;
}

bool CDCDAWFilterWorkspace::sameShape(const CAudioFilterList& list) const {
    if (list.count() != m_count) return false;
    for (int32_t i = 0; i < m_count; ++i) {
        const CAudioFilterDesc& d = list[i];
        const CDCDAWContextWorkspace& op = m_ops[i];
        if (d.kind == CAudioFilterDesc::kBiquad) {
            if (op.kind != CDCDAWContextWorkspace::kBiquad || op.variant != d.form) return false;
        } else if (op.kind != CDCDAWContextWorkspace::kHalfBand || op.variant != d.sections - 1) {
            return false;
        }
    }
    return true;
}

void CDCDAWFilterWorkspace::change(const CAudioFilterList& list) {
    if (!sameShape(list)) return;
    for (int32_t i = 0; i < m_count; ++i) {
        const CAudioFilterDesc& d = list[i];
        CDCDAWContextWorkspace& op = m_ops[i];
        if (op.kind == CDCDAWContextWorkspace::kBiquad) {
            CFilterBiquadBlock& b = op.biquad;
            // The newest set asked for so far; asking for it again changes nothing.
            const double* newest = b.hasWaiting ? b.waiting : b.next;
            if (!sameSet(newest, d.coeffs)) biquadUpdate(b, d.coeffs);
        } else {
            CFilterHalfBandBlock& h = op.halfBand;
            bool same = true;
            for (int32_t k = 0; k < d.sections; ++k) same = same && h.a[k] == d.a[k] && h.b[k] == d.b[k];
            if (!same) halfBandInit(h, d);
        }
    }
}

void CDCDAWFilterWorkspace::resetState() {
    for (int32_t i = 0; i < m_count; ++i) {
        CDCDAWContextWorkspace& op = m_ops[i];
        if (op.kind == CDCDAWContextWorkspace::kBiquad) {
            CFilterBiquadBlock& b = op.biquad;
            const double* newest = b.hasWaiting ? b.waiting : b.next;
            double set[5];
            for (int32_t k = 0; k < 5; ++k) set[k] = newest[k];
            const int32_t length = b.fadeLength;
            b = CFilterBiquadBlock{};
            for (int32_t k = 0; k < 5; ++k) b.coeffs[k] = b.next[k] = set[k];
            b.fadeLength = length;
        } else {
            CFilterHalfBandBlock& h = op.halfBand;
            std::memset(h.ringA, 0, sizeof(h.ringA));
            std::memset(h.ringB, 0, sizeof(h.ringB));
            h.pos = 0;
        }
    }
}

void CDCDAWFilterWorkspace::run(const double* in, double* out, int32_t count) {
    if (count <= 0) return;
    if (m_count == 0) {
        if (out != in) std::memcpy(out, in, sizeof(double) * static_cast<size_t>(count));
        return;
    }
    const double* src = in;
    for (int32_t i = 0; i < m_count; ++i) {
        CDCDAWContextWorkspace& op = m_ops[i];
        if (op.kind == CDCDAWContextWorkspace::kBiquad) {
            m_kernels->biquad[op.variant](op.biquad, src, out, count);
        } else {
            m_kernels->halfBand[op.variant](op.halfBand, src, out, count);
        }
        src = out;
    }
}

}  // namespace orl
