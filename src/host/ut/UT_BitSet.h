#pragma once

#include <bit>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <vector>

/// A set of slot numbers in [0, size). A summary with one bit per 64-bit word makes the search for the next member skip
/// 4096 slots at a time.
class UT_BitSet {
public:
    static constexpr size_t NONE = ~size_t(0);

    UT_BitSet() = default;
    explicit UT_BitSet(size_t size) { resize(size); }

    /// Slots there are; new ones are clear, members past the end go.
    void resize(size_t size) {
        mySize = size;
        myWords.resize((size + 63) / 64);
        mySummary.resize((myWords.size() + 63) / 64);
        if (size % 64) trimWord(myWords.size() - 1, ~uint64_t(0) >> (64 - size % 64));
        if (myWords.size() % 64) mySummary.back() &= ~uint64_t(0) >> (64 - myWords.size() % 64);
        recount();
    }
    size_t size() const { return mySize; }

    bool test(size_t i) const {
        assert(i < mySize);
        return myWords[i / 64] >> (i % 64) & 1;
    }
    /// Adds slot i; true if it was not in the set.
    bool set(size_t i) {
        assert(i < mySize);
        const uint64_t bit = uint64_t(1) << (i % 64);
        const bool fresh = !(myWords[i / 64] & bit);
        myWords[i / 64] |= bit;
        mySummary[i / 4096] |= uint64_t(1) << (i / 64 % 64);
        myCount += fresh;
        return fresh;
    }
    /// Removes slot i; true if it was in the set.
    bool clear(size_t i) {
        assert(i < mySize);
        const uint64_t bit = uint64_t(1) << (i % 64);
        const bool had = myWords[i / 64] & bit;
        trimWord(i / 64, ~bit);
        myCount -= had;
        return had;
    }
    void assign(size_t i, bool on) { on ? set(i) : clear(i); }
    /// Empties the set; the size stays.
    void clearAll() {
        myWords.assign(myWords.size(), 0);
        mySummary.assign(mySummary.size(), 0);
        myCount = 0;
    }
    void setAll() {
        myWords.assign(myWords.size(), ~uint64_t(0));
        mySummary.assign(mySummary.size(), ~uint64_t(0));
        resize(mySize);
    }

    /// Slots 64 i to 64 i + 63 as bits; those past the end are clear.
    uint64_t word(size_t i) const { return i < myWords.size() ? myWords[i] : 0; }

    bool any() const { return myCount != 0; }
    size_t count() const { return myCount; }
    /// Members in [first, last).
    size_t count(size_t first, size_t last) const {
        size_t n = 0;
        for (size_t i = findFrom(first); i < last; i = findFrom(i + 1)) ++n;
        return n;
    }

    /// The lowest member that is at least `from`; NONE when there is none.
    size_t findFrom(size_t from = 0) const {
        if (from >= mySize) return NONE;
        const size_t word = from / 64;
        const uint64_t here = myWords[word] >> (from % 64);
        if (here) return from + size_t(std::countr_zero(here));
        const size_t next = nextWord(word + 1);
        return next == NONE ? NONE : next * 64 + size_t(std::countr_zero(myWords[next]));
    }
    /// Calls f(slot) for each member, ascending. f may clear the slot it is given.
    template <class F> void forEach(F&& f) const {
        for (size_t i = findFrom(0); i != NONE; i = findFrom(i + 1)) f(i);
    }

    UT_BitSet& operator|=(const UT_BitSet& b) {
        if (b.mySize > mySize) resize(b.mySize);
        for (size_t i = 0; i < b.myWords.size(); ++i) myWords[i] |= b.myWords[i];
        return refresh();
    }
    /// Slots past the end of b count as clear in it.
    UT_BitSet& operator&=(const UT_BitSet& b) {
        for (size_t i = 0; i < myWords.size(); ++i) myWords[i] &= i < b.myWords.size() ? b.myWords[i] : 0;
        return refresh();
    }
    /// Removes the members of b.
    UT_BitSet& operator-=(const UT_BitSet& b) {
        const size_t n = myWords.size() < b.myWords.size() ? myWords.size() : b.myWords.size();
        for (size_t i = 0; i < n; ++i) myWords[i] &= ~b.myWords[i];
        return refresh();
    }
    friend bool operator==(const UT_BitSet& a, const UT_BitSet& b) {
        return a.mySize == b.mySize && a.myWords == b.myWords;
    }

private:
    std::vector<uint64_t> myWords, mySummary;
    size_t mySize = 0, myCount = 0;

    void trimWord(size_t word, uint64_t keep) {
        if (!(myWords[word] &= keep)) mySummary[word / 64] &= ~(uint64_t(1) << (word % 64));
    }
    size_t nextWord(size_t word) const {
        if (word >= myWords.size()) return NONE;
        size_t s = word / 64;
        uint64_t here = mySummary[s] >> (word % 64) << (word % 64);
        while (!here) {
            if (++s == mySummary.size()) return NONE;
            here = mySummary[s];
        }
        return s * 64 + size_t(std::countr_zero(here));
    }
    void recount() {
        myCount = 0;
        for (uint64_t w : myWords) myCount += size_t(std::popcount(w));
    }
    UT_BitSet& refresh() {
        mySummary.assign(mySummary.size(), 0);
        for (size_t w = 0; w < myWords.size(); ++w)
            if (myWords[w]) mySummary[w / 64] |= uint64_t(1) << (w % 64);
        recount();
        return *this;
    }
};
