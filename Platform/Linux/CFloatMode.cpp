#include "Platform/CFloatMode.h"

#if defined(__x86_64__) || defined(__i386__)
#include <xmmintrin.h>
#endif

namespace orl {

namespace {

// MXCSR: bit 15 flush-to-zero, bit 6 denormals-are-zero.
constexpr uint32_t kFlushBits = 0x8040;

}  // namespace

#if defined(__x86_64__) || defined(__i386__)

CFloatMode::CFloatMode() {
    m_saved = _mm_getcsr();
    if ((m_saved & kFlushBits) != kFlushBits) {
        _mm_setcsr(m_saved | kFlushBits);
        m_changed = true;
    }
}

CFloatMode::~CFloatMode() {
    if (m_changed) _mm_setcsr(m_saved);
}

bool CFloatMode::isFlushingDenormals() { return (_mm_getcsr() & kFlushBits) == kFlushBits; }

#else

// Other processors keep their mode: the signal code gives the same results either way, only
// slower on denormals.
CFloatMode::CFloatMode() {}
CFloatMode::~CFloatMode() {}
bool CFloatMode::isFlushingDenormals() { return false; }

#endif

}  // namespace orl
