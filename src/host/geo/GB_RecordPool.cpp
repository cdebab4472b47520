#include "host/geo/GB_RecordPool.h"

#include "host/ut/UT_BitSet.h"
#include "host/ut/UT_LargeAllocator.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <stdexcept>

void GB_RecordPool::FreeBlock::operator()(char* p) const { UTfreeLarge(p); }

GB_RecordPool::Block GB_RecordPool::newBlock(size_t bytes) {
    return Block(static_cast<char*>(UTallocateLarge(bytes, UT_LargeEnd::Exact)));
}

void GB_RecordPool::poison([[maybe_unused]] char* base, [[maybe_unused]] size_t bytes) const {
#ifndef NDEBUG
    std::memset(base, 0xdd, bytes);
#endif
}

void GB_RecordPool::addSlab() {
    if (mySlabs.size() + 1 >= (size_t{1} << (32 - SLAB_SHIFT)))
        throw std::length_error("too many elements in a detail");
    if (mySlabs.size() == myTableSize) {
        const size_t size = std::max<size_t>(4, myTableSize * 2);
        auto table = std::make_unique<char*[]>(size);
        std::copy_n(myTable, myTableSize, table.get());
        myTables.push_back(std::move(table));
        myTable = myTables.back().get();
        myTableSize = size;
    }
    mySlabs.emplace_back();
    if (groupOf(mySlabs.size() - 1) == myGroups.size()) myGroups.emplace_back();
}

void GB_RecordPool::openSlab(size_t s) {
    const size_t g = groupOf(s), step = slabStep(myStride);
    Group& group = myGroups[g];
    if (!group.memory) group.memory = newBlock(step * slabsIn(g));
    ++group.open;
    mySlabs[s].base = group.memory.get() + (s - firstSlab(g)) * step;
    setBase(s);
}

void GB_RecordPool::dropSlab(size_t s) {
    Group& group = myGroups[groupOf(s)];
    poison(mySlabs[s].base, mySlabs[s].top * myStride);
    mySlabs[s].base = nullptr;
    mySlabs[s].top = 0;
    setBase(s);
    if (--group.open == 0) group.memory.reset();
    while (!mySlabs.empty() && !mySlabs.back().base) mySlabs.pop_back();
    myGroups.resize(mySlabs.empty() ? 0 : groupOf(mySlabs.size() - 1) + 1);
}

uint32_t GB_RecordPool::findFree() {
    uint32_t word = (myHint & (SLAB_RECORDS - 1)) / 64;
    for (size_t s = myHint >> SLAB_SHIFT; s < mySlabs.size(); ++s, word = 0) {
        if (mySlabs[s].live == SLAB_RECORDS) continue;
        for (; word < WORDS; ++word) {
            const uint64_t free = ~mySlabs[s].bits[word];
            if (free)
                return static_cast<uint32_t>(s) * SLAB_RECORDS + word * 64u +
                       static_cast<uint32_t>(std::countr_zero(free));
        }
    }
    addSlab();
    return static_cast<uint32_t>(mySlabs.size() - 1) * SLAB_RECORDS;
}

void GB_RecordPool::lookAhead(size_t s, uint32_t index) {
    const Slab& slab = mySlabs[s];
    while (index < slab.top) {
        const uint64_t free = ~slab.bits[index / 64] >> (index % 64);
        if (free) {
            index += static_cast<uint32_t>(std::countr_zero(free));
            __builtin_prefetch(slab.base + index * myStride, 1);
            __builtin_prefetch(slab.base + index * myStride + 64, 1);
            break;
        }
        index = (index / 64 + 1) * 64;
    }
    myHint = static_cast<uint32_t>(s) * SLAB_RECORDS + std::min(index, SLAB_RECORDS);
}

uint32_t GB_RecordPool::allocate() {
    const uint32_t slot = findFree();
    const size_t s = slot >> SLAB_SHIFT;
    if (!mySlabs[s].base) openSlab(s);
    Slab& slab = mySlabs[s];
    const uint32_t index = slot & (SLAB_RECORDS - 1);
    slab.bits[index / 64] |= uint64_t{1} << (index % 64);
    ++slab.live;
    slab.top = std::max(slab.top, index + 1);
    ++myLive;
    lookAhead(s, index + 1);
    if (myStride) std::memcpy(record(slot), myTemplate.data(), myStride);
    return slot;
}

size_t GB_RecordPool::claim(size_t s, uint32_t index, uint32_t* slots, size_t n) {
    Slab& slab = mySlabs[s];
    size_t claimed = 0;
    uint32_t used = slab.top;
    for (uint32_t word = index / 64; word < WORDS && claimed < n; ++word)
        for (uint64_t free = ~slab.bits[word]; free && claimed < n; free &= free - 1) {
            index = word * 64 + static_cast<uint32_t>(std::countr_zero(free));
            slots[claimed++] = static_cast<uint32_t>(s) * SLAB_RECORDS + index;
            slab.bits[word] |= free & -free;
            if (index >= used) continue; // beyond lie pages that nobody has touched: nothing to fetch
            __builtin_prefetch(slab.base + index * myStride, 1);
            __builtin_prefetch(slab.base + index * myStride + 64, 1);
        }
    slab.live += static_cast<uint32_t>(claimed);
    slab.top = std::max(slab.top, index + 1);
    myLive += claimed;
    myHint = static_cast<uint32_t>(s) * SLAB_RECORDS + index + 1;
    return claimed;
}

size_t GB_RecordPool::allocate(const char* model, uint32_t* slots, size_t n) {
    const uint32_t first = findFree();
    const size_t s = first >> SLAB_SHIFT;
    if (!mySlabs[s].base) openSlab(s);
    const size_t claimed = claim(s, first & (SLAB_RECORDS - 1), slots, n);
    if (myStride)
        for (size_t i = 0; i < claimed; ++i) std::memcpy(record(slots[i]), model, myStride);
    return claimed;
}

void GB_RecordPool::release(uint32_t slot) {
    assert(isLive(slot));
    const size_t s = slot >> SLAB_SHIFT;
    Slab& slab = mySlabs[s];
    const uint32_t index = slot & (SLAB_RECORDS - 1);
    poison(record(slot), myStride);
    slab.bits[index / 64] &= ~(uint64_t{1} << (index % 64));
    --myLive;
    myHint = std::min(myHint, slot);
    if (--slab.live == 0) dropSlab(s);
}

void GB_RecordPool::release(const UT_BitSet& slots) {
    slots.forEach([&](size_t slot) {
        if (isLive(static_cast<uint32_t>(slot))) release(static_cast<uint32_t>(slot));
    });
}

bool GB_RecordPool::isLive(uint32_t slot) const {
    if (slot >= slotEnd()) return false;
    const uint32_t index = slot & (SLAB_RECORDS - 1);
    return mySlabs[slot >> SLAB_SHIFT].bits[index / 64] >> (index % 64) & 1;
}

void GB_RecordPool::moveSlab(size_t s, char* to, const char* newBytes, size_t count) {
    Slab& slab = mySlabs[s];
    const size_t stride = myStride + count;
    for (size_t i = 0; i < slab.top; ++i) {
        if (myStride) std::memcpy(to + i * stride, slab.base + i * myStride, myStride);
        std::memcpy(to + i * stride + myStride, newBytes, count);
    }
    poison(slab.base, slab.top * myStride);
    slab.base = to;
    setBase(s);
}

size_t GB_RecordPool::slabBytes() const {
    size_t slabs = 0;
    for (size_t g = 0; g < myGroups.size(); ++g)
        if (myGroups[g].memory) slabs += slabsIn(g);
    return slabs * slabStep(myStride);
}

void GB_RecordPool::grow(const char* newBytes, size_t count) {
    const size_t stride = myStride + count;
    for (size_t g = 0; g < myGroups.size(); ++g) {
        if (!myGroups[g].memory) continue;
        const size_t first = firstSlab(g), end = std::min(first + slabsIn(g), mySlabs.size());
        Block block = newBlock(slabStep(stride) * slabsIn(g));
        for (size_t s = first; s < end; ++s)
            if (mySlabs[s].base) moveSlab(s, block.get() + (s - first) * slabStep(stride), newBytes, count);
        myGroups[g].memory = std::move(block);
    }
    myTemplate.insert(myTemplate.end(), newBytes, newBytes + count);
    myStride = stride;
    if (myTables.size() > 1) myTables.erase(myTables.begin(), myTables.end() - 1);
}

void GB_RecordPool::clear() {
    mySlabs.clear();
    myGroups.clear();
    myTables.clear();
    myTable = nullptr;
    myTableSize = 0;
    myLive = 0;
    myHint = 0;
}

void GB_RecordPool::reset() {
    clear();
    myStride = myHeader;
    myTemplate.assign(myHeader, 0);
}

void GB_RecordPool::copyFrom(const GB_RecordPool& src) {
    clear();
    myHeader = src.myHeader;
    myStride = src.myStride;
    myTemplate = src.myTemplate;
    for (size_t s = 0; s < src.mySlabs.size(); ++s) {
        const Slab& from = src.mySlabs[s];
        addSlab();
        if (!from.base) continue;
        openSlab(s);
        if (myStride) std::memcpy(mySlabs[s].base, from.base, from.top * myStride);
        mySlabs[s].bits = from.bits;
        mySlabs[s].live = from.live;
        mySlabs[s].top = from.top;
    }
    myLive = src.myLive;
    myHint = src.myHint;
}
