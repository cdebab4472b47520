#pragma once

class AtomicFile;
class GU_Detail;

namespace formats {

// One function per format that can be written; what each holds is told in Formats.h. They throw FormatError when the
// detail has no such form; failures of the disk show when the file is committed.

void writePly(const GU_Detail& detail, AtomicFile& file);
void writeCsv(const GU_Detail& detail, AtomicFile& file);
/// One array per attribute under its own name: P (n, 3) float32, then (n,) or (n, components) of float32 or int32;
/// a string attribute is the int32 array of its numbers (-1: none) and an array `<name>_names` of the strings.
void writeNpz(const GU_Detail& detail, AtomicFile& file);
void writeNativeText(const GU_Detail& detail, AtomicFile& file);
void writeNativeBinary(const GU_Detail& detail, AtomicFile& file);

} // namespace formats
