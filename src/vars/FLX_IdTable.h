#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "host/geo/GU_Detail.h"

/// Finds particles by their "id" attribute. One table serves one detail at a time and follows its changes: births cost
/// a look at the newborn, everything else that can change ids or points (GB_Detail::lastEdit) a pass over all
/// particles.
class FLX_IdTable {
public:
    /// The particle of that id, or null: no such particle, no particle primitive, no "id" attribute. Ids run from 0 to
    /// the detail attribute "nextid" (1 when absent), which is not included. Of several particles with one id the first
    /// in primitive order is found.
    GEO_Point* find(const GU_Detail& detail, int id);

    bool serves(const GU_Detail& detail) const { return detail.dataId() == myKey.dataId; }
    /// Passes over all particles so far.
    unsigned numBuilds() const { return myNumBuilds; }

private:
    struct Key {
        uint64_t dataId = 0;
        uint64_t layout = 0;
        uint64_t lastEdit = 0;
        bool operator==(const Key&) const = default;
    };
    using Entry = std::pair<int, uint32_t>; // id, slot

    void update(const GU_Detail& detail);
    void rebuild(const GU_Detail& detail, int limit);
    void appendNewborn(const GU_Detail& detail, int limit);
    void scan(const GU_Detail& detail, int limit);
    void add(int id, uint32_t slot);
    void sortSparse(size_t numSorted);
    uint32_t slotOf(int id) const;
    int idAt(const GU_Detail& detail, uint32_t slot) const;

    Key myKey;
    uint64_t myChanges = 0; // of the detail, at the last look
    size_t myPoints = 0;    // there were then
    int myLimit = 0;
    int myOffset = -1;                // of "id"; -1: the detail has none
    bool myIsDense = true;            // by id in myDense, else by search in mySparse
    std::vector<uint32_t> myDense;    // slot by id
    std::vector<Entry> mySparse;      // ordered by id; of equal ids the first found leads
    std::vector<size_t> myNumScanned; // particles seen, by primitive number
    unsigned myNumBuilds = 0;
};
