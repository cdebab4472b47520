#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/geo/GU_Detail.h"

/// A picture of a source's point attributes: tells whether geometry fetched for another moment has the same ones, so
/// that what was worked out for them still holds.
class flx_SrcAttribDict {
public:
    void update(const GU_Detail& detail);
    /// By the detail's counters, and only when those differ attribute by attribute, strings included.
    bool matches(const GU_Detail& detail) const;

private:
    struct Entry {
        std::string name;
        int size;
        GB_AttribType type;
        std::vector<std::string> strings;
    };
    std::vector<Entry> myEntries;
    uint64_t myDataId = 0;
    uint64_t myChangeCount = 0;
    uint64_t myLayoutSerial = 0;
};
