// How much memory ten million particles take, the peak of a run included, against the bytes of their attributes and
// positions.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "support/Comparison.h"
#include "support/Simulation.h"

namespace {

using namespace bench;

/// Of this process, in bytes: "VmHWM:" is the peak of what it held in memory, "VmRSS:" what it holds now.
double memoryOf(const char* field) {
    std::FILE* status = std::fopen("/proc/self/status", "r");
    char line[256];
    double bytes = 0;
    while (status && std::fgets(line, sizeof line, status))
        if (std::strncmp(line, field, std::strlen(field)) == 0) bytes = std::atof(line + std::strlen(field)) * 1024;
    if (status) std::fclose(status);
    return bytes;
}

} // namespace

int main() {
    constexpr size_t n = 10000000;
    const double before = memoryOf("VmRSS:");
    Simulation simulation("memory");
    FLX_Node& birth = addImmortals(simulation, n);
    FLX_Node& force = simulation.add("force", "pull", &birth);
    FLX_Node& second = simulation.add("force", "push", &force);
    force.setFloat("force", 1, -9.8);
    startFull(simulation, birth, second);
    for (int i = 0; i < 3; ++i) simulation.cook();
    // Positions are three numbers and a weight; the slot number in a record is not counted.
    const double needed = double(n) * double(size_t(simulation.detail().pointAttribs().recordSize()) + 16);
    const double peak = memoryOf("VmHWM:") - before;
    std::printf("\n10M particles of %d bytes of attributes and 16 of position\n",
                simulation.detail().pointAttribs().recordSize());
    std::printf("  held now %.0f MB, at the peak %.0f MB\n", (memoryOf("VmRSS:") - before) / 1e6, peak / 1e6);
    bench::bar("memory of 10M particles", "peak / attributes and positions", peak / needed, 1.4);
}
