#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

class AtomicFile;

namespace formats {

/// Writes a ZIP archive of stored (uncompressed) entries, as PKWARE's APPNOTE 6.3 describes it. Sizes, offsets and
/// counts that do not fit the classic fields take the ZIP64 ones.
class ZipWriter {
public:
    /// `classicLimit` is the first value that the classic 32-bit fields do not hold; smaller values are for tests.
    explicit ZipWriter(AtomicFile& file, uint64_t classicLimit = 0xffffffffu)
        : myFile(file)
        , myLimit(classicLimit) {}

    /// An entry; its content is head + body.
    void add(const std::string& name, std::string_view head, std::string_view body);
    /// Writes the directory. Nothing may be added afterwards.
    void finish();

private:
    struct Entry {
        std::string name;
        uint32_t crc;
        uint64_t size;
        uint64_t offset;
    };
    uint32_t classic(uint64_t value) const;
    void writeLocalHeader(const Entry& entry);
    void appendDirectoryEntry(std::string& out, const Entry& entry) const;
    void appendZip64End(std::string& out, uint64_t start, uint64_t size) const;

    AtomicFile& myFile;
    uint64_t myLimit;
    std::vector<Entry> myEntries;
};

} // namespace formats
