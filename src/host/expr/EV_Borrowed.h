#pragma once
#include <cstddef>
#include <deque>
#include <vector>

// An array of T for a while, from a stack that the thread keeps: nothing is allocated once the stack has grown to what
// is needed. The elements hold whatever they held before. Ends in the reverse order of its beginning.
template <class T> class EV_Borrowed {
public:
    explicit EV_Borrowed(size_t count) {
        if (count == 0) return;
        Levels& all = levels();
        if (all.used == all.arrays.size()) all.arrays.emplace_back();
        std::vector<T>& array = all.arrays[all.used];
        if (array.size() < count) array.resize(count);
        myData = array.data();
        mySize = count;
        ++all.used;
    }
    ~EV_Borrowed() {
        if (mySize > 0) --levels().used;
    }
    EV_Borrowed(const EV_Borrowed&) = delete;
    EV_Borrowed& operator=(const EV_Borrowed&) = delete;

    T& operator[](size_t i) { return myData[i]; }
    const T& operator[](size_t i) const { return myData[i]; }
    T* data() { return myData; }
    T* begin() { return myData; }
    T* end() { return myData + mySize; }

private:
    struct Levels {
        std::deque<std::vector<T>> arrays;
        size_t used = 0;
    };
    static Levels& levels() {
        static thread_local Levels theLevels;
        return theLevels;
    }

    T* myData = nullptr;
    size_t mySize = 0;
};
