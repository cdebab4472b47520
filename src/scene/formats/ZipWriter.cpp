#include "scene/formats/ZipWriter.h"

#include "scene/formats/AtomicFile.h"
#include "scene/formats/Checksum.h"
#include "scene/formats/LittleEndian.h"

namespace formats {
namespace {

constexpr uint16_t VERSION = 45;         ///< 4.5: ZIP64
constexpr uint16_t UTF8_NAMES = 0x0800;  ///< flag
constexpr uint16_t NO_TIME = 0;          ///< fixed stamps, so that equal content gives equal bytes
constexpr uint16_t FIRST_DATE = 0x0021;  ///< 1 January 1980
constexpr uint16_t ZIP64_EXTRA = 0x0001; ///< id of the extra field

uint16_t size16(const std::string& text) { return static_cast<uint16_t>(text.size()); }

/// Version to read, flags, method (stored), time, date, checksum: the same in both headers.
void appendCommon(std::string& out, uint32_t crc) {
    for (const uint16_t field : {VERSION, UTF8_NAMES, uint16_t{0}, NO_TIME, FIRST_DATE}) appendLittle(out, field);
    appendLittle(out, crc);
}

} // namespace

uint32_t ZipWriter::classic(uint64_t value) const {
    return value < myLimit ? static_cast<uint32_t>(value) : 0xffffffffu;
}

void ZipWriter::add(const std::string& name, std::string_view head, std::string_view body) {
    const uint32_t crc = crc32(crc32(0, head), body);
    myEntries.push_back({name, crc, head.size() + body.size(), myFile.position()});
    writeLocalHeader(myEntries.back());
    myFile.write(head);
    myFile.write(body);
}

void ZipWriter::writeLocalHeader(const Entry& entry) {
    std::string extra;
    if (entry.size >= myLimit) {
        appendLittle(extra, ZIP64_EXTRA);
        appendLittle(extra, uint16_t{16});
        appendLittle(extra, entry.size);
        appendLittle(extra, entry.size);
    }
    std::string out = "PK\3\4";
    appendCommon(out, entry.crc);
    appendLittle(out, classic(entry.size));
    appendLittle(out, classic(entry.size));
    appendLittle(out, size16(entry.name));
    appendLittle(out, size16(extra));
    myFile.write(out + entry.name + extra);
}

void ZipWriter::appendDirectoryEntry(std::string& out, const Entry& entry) const {
    std::string wide;
    if (entry.size >= myLimit) {
        appendLittle(wide, entry.size);
        appendLittle(wide, entry.size);
    }
    if (entry.offset >= myLimit) appendLittle(wide, entry.offset);
    std::string extra;
    if (!wide.empty()) {
        appendLittle(extra, ZIP64_EXTRA);
        appendLittle(extra, size16(wide));
        extra += wide;
    }
    out += "PK\1\2";
    appendLittle(out, VERSION);
    appendCommon(out, entry.crc);
    appendLittle(out, classic(entry.size));
    appendLittle(out, classic(entry.size));
    appendLittle(out, size16(entry.name));
    appendLittle(out, size16(extra));
    out.append(10, '\0'); // comment length, disk, attributes
    appendLittle(out, classic(entry.offset));
    out += entry.name + extra;
}

void ZipWriter::appendZip64End(std::string& out, uint64_t start, uint64_t size) const {
    out += "PK\6\6";
    appendLittle(out, uint64_t{44}); // bytes of this record that follow
    appendLittle(out, VERSION);
    appendLittle(out, VERSION);
    out.append(8, '\0'); // disk numbers
    for (const uint64_t field : {uint64_t{myEntries.size()}, uint64_t{myEntries.size()}, size, start})
        appendLittle(out, field);
    out += "PK\6\7";
    appendLittle(out, uint32_t{0});
    appendLittle(out, start + size);
    appendLittle(out, uint32_t{1}); // disks
}

void ZipWriter::finish() {
    const uint64_t start = myFile.position();
    std::string out;
    for (const Entry& entry : myEntries) appendDirectoryEntry(out, entry);
    const uint64_t size = out.size();
    const bool many = myEntries.size() >= 0xffff;
    if (many || start >= myLimit || size >= myLimit) appendZip64End(out, start, size);
    out += "PK\5\6";
    out.append(4, '\0'); // disk numbers
    const uint16_t count = many ? uint16_t{0xffff} : static_cast<uint16_t>(myEntries.size());
    appendLittle(out, count);
    appendLittle(out, count);
    appendLittle(out, classic(size));
    appendLittle(out, classic(start));
    appendLittle(out, uint16_t{0}); // comment length
    myFile.write(out);
}

} // namespace formats
