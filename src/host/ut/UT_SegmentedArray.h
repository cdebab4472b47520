#pragma once

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <memory>
#include <span>
#include <type_traits>
#include <utility>
#include <vector>

/// A growing array of plain values in segments of `SEGMENT` elements. Growth never copies a full segment, so there is
/// no moment with twice the memory and addresses past the first segment are stable. The first segment alone grows by
/// doubling, which keeps small arrays small.
template <class T, size_t SEGMENT = 16384> class UT_SegmentedArray {
    static_assert(std::is_trivially_copyable_v<T> && (SEGMENT & (SEGMENT - 1)) == 0 && SEGMENT >= 16);

public:
    UT_SegmentedArray() = default;
    UT_SegmentedArray(const UT_SegmentedArray& other) { *this = other; }
    UT_SegmentedArray(UT_SegmentedArray&& other) noexcept { swap(other); }
    UT_SegmentedArray& operator=(UT_SegmentedArray&& other) noexcept {
        UT_SegmentedArray gone(std::move(other));
        swap(gone);
        return *this;
    }
    UT_SegmentedArray& operator=(const UT_SegmentedArray& other) {
        if (this == &other) return *this;
        clear();
        other.forEachSpan([this](std::span<const T> part) { append(part); });
        return *this;
    }
    void swap(UT_SegmentedArray& other) noexcept {
        mySegments.swap(other.mySegments);
        std::swap(mySize, other.mySize);
        std::swap(myCapacity, other.myCapacity);
    }

    size_t size() const { return mySize; }
    bool empty() const { return mySize == 0; }
    /// Elements there is memory for.
    size_t capacity() const { return myCapacity; }

    T& operator[](size_t i) {
        assert(i < mySize);
        return mySegments[i / SEGMENT][i % SEGMENT];
    }
    const T& operator[](size_t i) const {
        assert(i < mySize);
        return mySegments[i / SEGMENT][i % SEGMENT];
    }
    T& back() { return (*this)[mySize - 1]; }
    const T& back() const { return (*this)[mySize - 1]; }

    void push_back(const T& value) {
        const T copy = value; // it may live in the segment that moves
        if (mySize == myCapacity) grow();
        mySegments[mySize / SEGMENT][mySize % SEGMENT] = copy;
        ++mySize;
    }
    /// The values must not lie in this array.
    void append(std::span<const T> values) {
        while (!values.empty()) {
            if (mySize == myCapacity) grow(mySize + values.size());
            const size_t n = std::min(values.size(), myCapacity - mySize);
            const size_t fits = std::min(n, SEGMENT - mySize % SEGMENT);
            std::copy_n(values.data(), fits, &mySegments[mySize / SEGMENT][mySize % SEGMENT]);
            mySize += fits;
            values = values.subspan(fits);
        }
    }
    /// Keeps the first n elements and gives back the segments that are then empty; new elements are copies of `value`.
    void resize(size_t n, const T& value = T()) {
        const T copy = value;
        while (mySize < n) push_back(copy);
        mySize = n;
        releaseSpare();
    }
    void clear() {
        mySegments.clear();
        mySize = myCapacity = 0;
    }

    /// Calls f(std::span<T>) for each contiguous run, in order.
    template <class F> void forEachSpan(F&& f) {
        for (size_t at = 0; at < mySize; at += SEGMENT)
            f(std::span<T>(mySegments[at / SEGMENT].get(), std::min(SEGMENT, mySize - at)));
    }
    template <class F> void forEachSpan(F&& f) const {
        for (size_t at = 0; at < mySize; at += SEGMENT)
            f(std::span<const T>(mySegments[at / SEGMENT].get(), std::min(SEGMENT, mySize - at)));
    }
    /// Calls f(T&) for each element, in order.
    template <class F> void forEach(F&& f) {
        forEachSpan([&](std::span<T> part) {
            for (T& v : part) f(v);
        });
    }
    template <class F> void forEach(F&& f) const {
        forEachSpan([&](std::span<const T> part) {
            for (const T& v : part) f(v);
        });
    }

    /// Removes the elements for which keep(value) is false, the others keeping their order. Returns how many went.
    template <class F> size_t keepIf(F&& keep) {
        size_t to = 0;
        const size_t before = mySize;
        forEach([&](T& value) {
            if (keep(std::as_const(value))) mySegments[to / SEGMENT][to % SEGMENT] = value, ++to;
        });
        mySize = to;
        releaseSpare();
        return before - to;
    }

private:
    std::vector<std::unique_ptr<T[]>> mySegments;
    size_t mySize = 0, myCapacity = 0;

    void grow(size_t wanted = 0) {
        if (myCapacity >= SEGMENT) {
            mySegments.push_back(std::make_unique_for_overwrite<T[]>(SEGMENT));
            myCapacity += SEGMENT;
            return;
        }
        const size_t n = std::min(SEGMENT, std::max({size_t(8), myCapacity * 2, wanted}));
        auto first = std::make_unique_for_overwrite<T[]>(n);
        if (mySize) std::copy_n(mySegments[0].get(), mySize, first.get());
        if (mySegments.empty())
            mySegments.push_back(std::move(first));
        else
            mySegments[0] = std::move(first);
        myCapacity = n;
    }
    void releaseSpare() {
        const size_t used = std::max<size_t>(1, (mySize + SEGMENT - 1) / SEGMENT);
        if (mySegments.size() <= used) return;
        mySegments.resize(used);
        myCapacity = used * SEGMENT;
    }
};
