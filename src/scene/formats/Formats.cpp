#include "scene/formats/Formats.h"

#include "host/geo/GU_Detail.h"
#include "scene/formats/AtomicFile.h"
#include "scene/formats/FileBytes.h"
#include "scene/formats/FormatError.h"
#include "scene/formats/NativeReaders.h"
#include "scene/formats/ObjReader.h"
#include "scene/formats/PlyReader.h"
#include "scene/formats/Writers.h"

#include <new>

namespace {

using Reader = void (*)(GU_Detail&, std::string_view);
using Writer = void (*)(const GU_Detail&, AtomicFile&);

// clang-format off
constexpr struct {
    GeometryFormat format;
    std::string_view ending;
    Reader read;  ///< null when the format is only written
    Writer write; ///< null when the format is only read
} FORMATS[] = {
    {GeometryFormat::OBJ,  ".obj",  formats::readObj,          nullptr},
    {GeometryFormat::PLY,  ".ply",  formats::readPly,          formats::writePly},
    {GeometryFormat::FLX,  ".flx",  formats::readNativeText,   formats::writeNativeText},
    {GeometryFormat::BFLX, ".bflx", formats::readNativeBinary, formats::writeNativeBinary},
    {GeometryFormat::CSV,  ".csv",  nullptr,                   formats::writeCsv},
    {GeometryFormat::NPZ,  ".npz",  nullptr,                   formats::writeNpz},
};
// clang-format on

bool endsWith(std::string_view path, std::string_view ending) {
    if (path.size() < ending.size()) return false;
    const std::string_view tail = path.substr(path.size() - ending.size());
    for (size_t i = 0; i < ending.size(); ++i) {
        const char c = tail[i] >= 'A' && tail[i] <= 'Z' ? static_cast<char>(tail[i] - 'A' + 'a') : tail[i];
        if (c != ending[i]) return false;
    }
    return true;
}

Reader readerOf(GeometryFormat format) {
    for (const auto& entry : FORMATS)
        if (entry.format == format) return entry.read;
    return nullptr;
}

Writer writerOf(GeometryFormat format) {
    for (const auto& entry : FORMATS)
        if (entry.format == format) return entry.write;
    return nullptr;
}

GeometryFormat sniff(std::string_view bytes) {
    if (bytes.starts_with("ply\n") || bytes.starts_with("ply\r")) return GeometryFormat::PLY;
    if (bytes.starts_with(formats::BINARY_MAGIC)) return GeometryFormat::BFLX;
    return GeometryFormat::UNKNOWN;
}

/// Runs the step and turns what it throws into the error line.
template <class Step> bool guarded(std::string& error, Step&& step) {
    try {
        step();
        return true;
    } catch (const formats::FormatError& problem) {
        error = problem.what();
    } catch (const std::bad_alloc&) {
        error = "needs more memory than there is";
    } catch (const std::length_error&) {
        error = "holds more elements than a detail can number";
    }
    return false;
}

} // namespace

GeometryFormat geometryFormat(std::string_view path) {
    for (const auto& entry : FORMATS)
        if (endsWith(path, entry.ending)) return entry.format;
    return GeometryFormat::UNKNOWN;
}

bool knownOutputFormat(std::string_view path) { return writerOf(geometryFormat(path)) != nullptr; }

bool readGeometry(GU_Detail& detail, GeometryFormat format, std::string_view bytes, std::string& error) {
    detail.stashAll();
    const Reader read = readerOf(format);
    const bool done = guarded(error, [&] {
        if (!read) throw formats::FormatError("is of no format that can be read; known are .obj, .ply, .flx and .bflx");
        if (bytes.empty()) throw formats::FormatError("is empty");
        read(detail, bytes);
    });
    if (!done) detail.stashAll();
    detail.bumpChange();
    return done;
}

bool readGeometry(GU_Detail& detail, const std::string& path, std::string& error) {
    detail.stashAll();
    bool done = false;
    std::string why;
    const bool fetched = guarded(why, [&] {
        const formats::FileBytes file(path);
        GeometryFormat format = geometryFormat(path);
        if (!readerOf(format)) format = sniff(file.view());
        done = readGeometry(detail, format, file.view(), why);
    });
    if (!fetched || !done) error = path + ": " + why;
    return fetched && done;
}

bool writeGeometry(const GU_Detail& detail, const std::string& path, std::string& error) {
    const Writer write = writerOf(geometryFormat(path));
    if (!write) {
        error = path + ": no format is known for this ending; known are .ply, .csv, .npz, .flx and .bflx";
        return false;
    }
    AtomicFile file(path);
    if (!file.open(error)) return false;
    std::string why;
    if (guarded(why, [&] { write(detail, file); })) return file.commit(error);
    error = path + ": " + why;
    return false;
}

void installFormats() {
    GU_Detail::setLoader([](GU_Detail& detail, const char* file, std::string& error) {
        return readGeometry(detail, std::string(file), error);
    });
}
