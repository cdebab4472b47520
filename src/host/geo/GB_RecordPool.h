#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

class UT_BitSet;

/// Addresses of the records of a pool, captured once for a hot loop: base table plus stride, nothing else.
///
/// Valid until the next attribute is appended or the pool is emptied. Births do not disturb it, but records that lie
/// in slabs younger than the view need a new one.
struct GB_RecordView {
    char* const* bases;
    size_t stride;
    char* operator()(uint32_t slot) const { return bases[slot >> 11] + (slot & 2047u) * stride; }
};

/// Records of equal size in slabs of 2048, addressed by slot number = slab * 2048 + index.
///
/// A record is a header of fixed size followed by attribute bytes. Births never move records, and slots survive a
/// change of the record size. The lowest free slot is reused first; memory without records is given back. Slabs are
/// allocated whole but not touched, so a small pool commits only the pages it uses.
class GB_RecordPool {
public:
    static constexpr unsigned SLAB_SHIFT = 11;
    static constexpr uint32_t SLAB_RECORDS = 1u << SLAB_SHIFT;
    static constexpr uint32_t NO_SLOT = 0xffffffffu;

    /// `headerBytes` is a multiple of 4.
    explicit GB_RecordPool(size_t headerBytes)
        : myHeader(headerBytes)
        , myStride(headerBytes)
        , myTemplate(headerBytes, 0) {}
    ~GB_RecordPool() = default;
    GB_RecordPool(const GB_RecordPool&) = delete;
    GB_RecordPool& operator=(const GB_RecordPool&) = delete;

    char* record(uint32_t slot) const { return myTable[slot >> SLAB_SHIFT] + (slot & (SLAB_RECORDS - 1)) * myStride; }
    char* attribData(uint32_t slot) const { return record(slot) + myHeader; }
    GB_RecordView view() const { return {myTable, myStride}; }
    size_t stride() const { return myStride; }
    size_t headerSize() const { return myHeader; }

    /// A new record: header zero, attributes at their defaults. Throws std::length_error past 2^32 - 2048 records.
    uint32_t allocate();
    /// Up to n new records, each a copy of `model` (a whole record), into `slots`; how many they are, at least one:
    /// they come from one slab.
    size_t allocate(const char* model, uint32_t* slots, size_t n);
    /// What a new record holds.
    const std::vector<char>& newRecord() const { return myTemplate; }
    /// Frees a living record.
    void release(uint32_t slot);
    /// Frees every living record of the set.
    void release(const UT_BitSet& slots);
    bool isLive(uint32_t slot) const;
    size_t live() const { return myLive; }
    /// One past the highest slot that a slab exists for.
    uint32_t slotEnd() const { return static_cast<uint32_t>(mySlabs.size() * SLAB_RECORDS); }
    /// Bytes held in slabs (address space, not committed memory).
    size_t slabBytes() const;

    /// Makes every record longer by these bytes, a multiple of 4. At most one block of memory (16 slabs) exists twice
    /// meanwhile.
    void grow(const char* newBytes, size_t count);
    /// Frees all records; the layout stays.
    void clear();
    /// Frees all records and goes back to the bare header.
    void reset();
    /// Becomes a copy with the same slots and layout.
    void copyFrom(const GB_RecordPool& src);

    /// Calls fn(slot) for every living record in slot order.
    template <class Fn> void forEachLive(Fn&& fn) const {
        for (size_t s = 0; s < mySlabs.size(); ++s)
            for (uint32_t w = 0; w < WORDS && mySlabs[s].live; ++w)
                for (uint64_t bits = mySlabs[s].bits[w]; bits; bits &= bits - 1)
                    fn(static_cast<uint32_t>(s) * SLAB_RECORDS + w * 64u +
                       static_cast<uint32_t>(std::countr_zero(bits)));
    }

    /// Calls fn(first slot, bits) for every 256 slots in which a record lives, in slot order: four words with a bit per
    /// living record.
    template <class Fn> void forEachWindow(Fn&& fn) const {
        for (size_t s = 0; s < mySlabs.size(); ++s)
            for (uint32_t w = 0; w < WORDS && mySlabs[s].live; w += 4) {
                const uint64_t* bits = &mySlabs[s].bits[w];
                if (bits[0] | bits[1] | bits[2] | bits[3]) fn(static_cast<uint32_t>(s) * SLAB_RECORDS + w * 64u, bits);
            }
    }

private:
    static constexpr uint32_t WORDS = SLAB_RECORDS / 64;
    struct FreeBlock {
        void operator()(char* p) const;
    };
    using Block = std::unique_ptr<char, FreeBlock>;
    struct Slab {
        char* base = nullptr;               ///< inside the memory of its group; null while the slab has no record
        std::array<uint64_t, WORDS> bits{}; ///< one bit per living record
        uint32_t live = 0;
        uint32_t top = 0; ///< one past the highest index ever used: what lies beyond was never touched
    };
    /// Memory of neighbouring slabs: the first sixteen slabs stand alone, later ones share a block of sixteen, large
    /// enough for huge pages (page faults and address translation cost more than the records otherwise).
    struct Group {
        Block memory;
        uint32_t open = 0; ///< slabs in use
    };
    static constexpr size_t GROUP = 16;
    static size_t groupOf(size_t s) { return s < GROUP ? s : GROUP - 1 + s / GROUP; }
    static size_t slabsIn(size_t g) { return g < GROUP ? 1 : GROUP; }
    static size_t firstSlab(size_t g) { return g < GROUP ? g : (g - GROUP + 1) * GROUP; }
    /// Bytes from one slab of a group to the next: 16 more than the records need, so that a vector load may reach past
    /// the last one, in whole cache lines.
    static size_t slabStep(size_t stride) { return (SLAB_RECORDS * stride + 16 + 63) / 64 * 64; }
    static Block newBlock(size_t bytes);
    uint32_t findFree();
    /// Marks up to n free records of a slab as living, from this index on.
    size_t claim(size_t s, uint32_t index, uint32_t* slots, size_t n);
    /// Moves the hint to the first free slot of a slab from this index on. Where a record died there, it is fetched:
    /// the next birth will write it, and it has hardly been read since.
    void lookAhead(size_t s, uint32_t index);
    void openSlab(size_t s);
    void addSlab();
    void dropSlab(size_t s);
    /// Copies a slab's records, each with the new bytes at its end.
    void moveSlab(size_t s, char* to, const char* newBytes, size_t count);
    void setBase(size_t s) { myTable[s] = mySlabs[s].base; }
    void poison(char* base, size_t bytes) const;

    size_t myHeader;
    size_t myStride;
    std::vector<char> myTemplate; ///< a record as it is born
    std::vector<Slab> mySlabs;
    std::vector<Group> myGroups;
    char** myTable = nullptr; ///< slab bases; the newest of the tables below
    size_t myTableSize = 0;
    /// Tables that a view may still hold; together no larger than the newest. Freed when the layout changes.
    std::vector<std::unique_ptr<char*[]>> myTables;
    size_t myLive = 0;
    uint32_t myHint = 0; ///< every slot below is alive
};
