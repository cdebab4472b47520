#include "core/FLX_LateCounts.h"

namespace {

constexpr char FENCE = '\1'; // before "what", between it and the number, and behind

std::string nameOf(const GEO_PrimParticle& prim) { return "p" + std::to_string(prim.getNum()); }
std::string nameOf(const GB_PointGroup& group) { return "g" + group.getName(); }

std::string markOf(const std::string& what, size_t count) {
    return FENCE + what + FENCE + std::to_string(count) + FENCE;
}

} // namespace

std::string FLX_LateCounts::mark(const GEO_PrimParticle& prim) { return markOf(nameOf(prim), prim.particleCount()); }
std::string FLX_LateCounts::mark(const GB_PointGroup& group) { return markOf(nameOf(group), group.entries()); }
bool FLX_LateCounts::isMarked(const std::string& text) { return text.find(FENCE) != std::string::npos; }

FLX_LateCounts::FLX_LateCounts(const GB_PointGroupList& groups) {
    for (size_t i = 0; i < groups.entries(); ++i) myLosses.push_back({nameOf(*groups[i]), groups[i]->entries()});
}

void FLX_LateCounts::settle(const GB_PointGroupList& groups, const FLX_PassDomain& domain,
                            const std::vector<size_t>& dropped) {
    for (size_t i = 0; i < groups.entries(); ++i) myLosses[i].count -= groups[i]->entries();
    for (size_t i = 0; i < dropped.size(); ++i) myLosses.push_back({nameOf(*domain.ranges()[i].prim), dropped[i]});
}

size_t FLX_LateCounts::lossOf(const std::string& what) const {
    for (const Loss& loss : myLosses)
        if (loss.what == what) return loss.count;
    return 0;
}

std::string FLX_LateCounts::completed(const std::string& text) const {
    std::string out;
    size_t at = 0;
    for (size_t first = text.find(FENCE); first != std::string::npos; first = text.find(FENCE, at)) {
        const size_t middle = text.find(FENCE, first + 1), last = text.find(FENCE, middle + 1);
        const std::string what = text.substr(first + 1, middle - first - 1);
        const size_t count = std::stoul(text.substr(middle + 1, last - middle - 1));
        out += text.substr(at, first - at) + std::to_string(count - lossOf(what));
        at = last + 1;
    }
    return out + text.substr(at);
}
