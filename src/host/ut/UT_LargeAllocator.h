#pragma once

#include <cstddef>
#include <limits>
#include <new>

/// What becomes of the end of memory in large pages.
enum class UT_LargeEnd {
    Filled, ///< the last page is taken whole, from half a page on
    Exact,  ///< no more than was asked for, from a whole page on: for blocks that grow by doubling
};

/// Memory that is walked in no order: from some size on it is asked for in large pages, without which every access
/// pays for finding its page. Aligned to at least 64 bytes. Throws std::bad_alloc.
void* UTallocateLarge(size_t bytes, UT_LargeEnd end = UT_LargeEnd::Filled);
void UTfreeLarge(void* memory) noexcept;

/// For std::vector over such memory.
template <class T> struct UT_LargeAllocator {
    using value_type = T;
    static_assert(alignof(T) <= 64);

    UT_LargeAllocator() = default;
    template <class U> UT_LargeAllocator(const UT_LargeAllocator<U>&) noexcept {}
    T* allocate(size_t n) {
        if (n > std::numeric_limits<size_t>::max() / sizeof(T)) throw std::bad_array_new_length();
        return static_cast<T*>(UTallocateLarge(n * sizeof(T)));
    }
    void deallocate(T* memory, size_t) noexcept { UTfreeLarge(memory); }
    template <class U> bool operator==(const UT_LargeAllocator<U>&) const { return true; }
};
