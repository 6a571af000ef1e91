#include "tests/RealTime/CAllocationCounter.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<bool> g_counting{false};
std::atomic<int64_t> g_count{0};

inline void note() {
    if (g_counting.load(std::memory_order_relaxed)) g_count.fetch_add(1, std::memory_order_relaxed);
}

}  // namespace

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ORL_COUNT_MALLOC 0
#else
#define ORL_COUNT_MALLOC 1
// The C library's own entry points, so that every malloc of the program passes through here.
extern "C" {
void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);
void* __libc_memalign(size_t, size_t);

void* malloc(size_t size) {
    note();
    return __libc_malloc(size);
}
void* calloc(size_t n, size_t size) {
    note();
    return __libc_calloc(n, size);
}
void* realloc(void* p, size_t size) {
    note();
    return __libc_realloc(p, size);
}
void* aligned_alloc(size_t alignment, size_t size) {
    note();
    return __libc_memalign(alignment, size);
}
int posix_memalign(void** out, size_t alignment, size_t size) {
    note();
    *out = __libc_memalign(alignment, size);
    return *out ? 0 : 12;
}
}
#endif

void* operator new(size_t size) {
    note();
    if (void* p = std::malloc(size ? size : 1)) return p;
    std::abort();
}
void* operator new[](size_t size) { return operator new(size); }
void* operator new(size_t size, const std::nothrow_t&) noexcept { return operator new(size); }
void* operator new[](size_t size, const std::nothrow_t&) noexcept { return operator new(size); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, size_t) noexcept { std::free(p); }
void operator delete[](void* p, size_t) noexcept { std::free(p); }

namespace orl::test {

void CAllocationCounter::start() {
    g_count.store(0);
    g_counting.store(true);
}

int64_t CAllocationCounter::stop() {
    g_counting.store(false);
    return g_count.load();
}

bool CAllocationCounter::countsMalloc() { return ORL_COUNT_MALLOC != 0; }

}  // namespace orl::test
