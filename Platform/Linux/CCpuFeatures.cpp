#include "Platform/CCpuFeatures.h"

#include <cstdlib>

namespace orl {

namespace {

struct SFeatures {
    bool avx2 = false;
    bool fma = false;
};

const SFeatures& features() {
    static const SFeatures f = [] {
        SFeatures r;
#if defined(__x86_64__) || defined(__i386__)
        __builtin_cpu_init();
        r.avx2 = __builtin_cpu_supports("avx2") != 0;
        r.fma = __builtin_cpu_supports("fma") != 0;
#endif
        return r;
    }();
    return f;
}

}  // namespace

bool CCpuFeatures::hasAVX2() { return features().avx2; }
bool CCpuFeatures::hasFMA() { return features().fma; }

bool CCpuFeatures::useAvx2Kernels() {
    static const bool use = [] {
        const char* force = std::getenv("ORL_FORCE_PLAIN");
        const bool forcePlain = force && force[0] == '1' && force[1] == '\0';
        return hasAVX2() && hasFMA() && !forcePlain;
    }();
    return use;
}

}  // namespace orl
