#include "host/ut/UT_LargeAllocator.h"

#include <cstdlib>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace {
constexpr size_t LINE = 64, PAGE = size_t(2) << 20, WORTH_IT = size_t(1) << 20;
}

void* UTallocateLarge(size_t bytes) {
    const size_t unit = bytes < WORTH_IT ? LINE : PAGE;
    if (bytes > std::numeric_limits<size_t>::max() - unit) throw std::bad_alloc();
    const size_t rounded = (bytes + unit - 1) / unit * unit;
    void* memory = std::aligned_alloc(unit, rounded > 0 ? rounded : unit);
    if (!memory) throw std::bad_alloc();
#if defined(__linux__) && defined(MADV_HUGEPAGE)
    if (unit == PAGE) madvise(memory, rounded, MADV_HUGEPAGE); // a wish: small pages serve as well
#endif
    return memory;
}

void UTfreeLarge(void* memory) noexcept { std::free(memory); }
