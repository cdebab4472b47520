#pragma once
#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

// Numbers, each once by its bits, with the index at which it was first added. The few of a usual expression are
// compared one by one; for more there is a hash table with open addressing.
class VM_NumberTable {
public:
    int add(double number) {
        const uint64_t bits = std::bit_cast<uint64_t>(number);
        if (mySlots.empty()) {
            for (size_t i = 0; i < myNumbers.size(); ++i)
                if (std::bit_cast<uint64_t>(myNumbers[i]) == bits) return int(i);
        } else if (const uint32_t known = mySlots[slotOf(bits)]) {
            return int(known) - 1;
        }
        myNumbers.push_back(number);
        if (myNumbers.size() > FEW && 2 * myNumbers.size() > mySlots.size())
            rehash();
        else if (!mySlots.empty())
            mySlots[slotOf(bits)] = uint32_t(myNumbers.size());
        return int(myNumbers.size()) - 1;
    }
    size_t size() const { return myNumbers.size(); }
    double operator[](size_t i) const { return myNumbers[i]; }

private:
    static constexpr size_t FEW = 16;

    // Where the number stands, or the free slot where it belongs.
    size_t slotOf(uint64_t bits) const {
        const size_t mask = mySlots.size() - 1;
        size_t slot = size_t((bits * 0x9e3779b97f4a7c15u) >> 32) & mask; // Fibonacci hashing
        while (mySlots[slot] && std::bit_cast<uint64_t>(myNumbers[mySlots[slot] - 1]) != bits) slot = (slot + 1) & mask;
        return slot;
    }
    void rehash() {
        mySlots.assign(4 * std::bit_ceil(myNumbers.size()), 0);
        for (size_t i = 0; i < myNumbers.size(); ++i)
            mySlots[slotOf(std::bit_cast<uint64_t>(myNumbers[i]))] = uint32_t(i + 1);
    }

    std::vector<double> myNumbers;
    std::vector<uint32_t> mySlots; // 1 + index, 0: free; empty while there are few numbers
};
