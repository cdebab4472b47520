#include "host/ut/UT_LargeAllocator.h"

#include <cstdlib>

#if defined(__linux__)
#include <sys/mman.h>
#endif

void* UTallocateLarge(size_t bytes, UT_LargeEnd end) {
    constexpr size_t LINE = 64, PAGE = size_t(2) << 20;
    const bool filled = end == UT_LargeEnd::Filled;
    const bool large = bytes >= (filled ? PAGE / 2 : PAGE);
    if (bytes > std::numeric_limits<size_t>::max() - PAGE) throw std::bad_alloc();
    if (large && filled) bytes = (bytes + PAGE - 1) / PAGE * PAGE;
    void* memory = nullptr;
    if (posix_memalign(&memory, large ? PAGE : LINE, bytes > 0 ? bytes : LINE)) throw std::bad_alloc();
#if defined(__linux__) && defined(MADV_HUGEPAGE)
    if (large) madvise(memory, bytes, MADV_HUGEPAGE); // a wish: small pages serve as well
#endif
    return memory;
}

void UTfreeLarge(void* memory) noexcept { std::free(memory); }
