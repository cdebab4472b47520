#include "scene/profile/CookProfile.h"

#include "core/FLX_Node.h"
#include "host/node/OP_Operator.h"

#include <algorithm>
#include <chrono>

namespace {

uint64_t systemTime() {
    using namespace std::chrono;
    return uint64_t(duration_cast<nanoseconds>(steady_clock::now().time_since_epoch()).count());
}

long long particlesOf(OP_Node& node) {
    FLX_Node* particles = node.castToFLXNode();
    if (!particles) return 0;
    long long count = 0;
    const FLX_ParticleList& list = *particles->peekParticleList();
    for (int i = 0; i < list.entries(); ++i)
        if (const GEO_PrimParticle* prim = list.entry(i).prim) count += (long long)(prim->particleCount());
    return count;
}

} // namespace

CookProfile::CookProfile(Clock clock)
    : myClock(clock ? std::move(clock) : systemTime)
    , myStart(myClock()) {}

std::vector<const ProfileRow*> CookProfile::sorted() const {
    std::vector<const ProfileRow*> rows;
    for (const ProfileRow& row : myRows) rows.push_back(&row);
    std::stable_sort(rows.begin(), rows.end(), [](const auto* a, const auto* b) { return a->own > b->own; });
    return rows;
}

ProfileRow& CookProfile::rowAt(const std::string& path, const std::string& type) {
    ProfileRow*& row = myByName[{path, type}];
    if (row) return *row;
    row = &myRows.emplace_back();
    row->path = path;
    row->type = type;
    return *row;
}

// A rewind makes nodes anew: other ids, the same rows.
ProfileRow& CookProfile::rowOf(const OP_Node& node) {
    ProfileRow*& row = myByNode[node.getUniqueId()];
    if (!row) row = &rowAt(node.getFullPath(), node.getOperator() ? node.getOperator()->getName() : "");
    return *row;
}

void CookProfile::begin(ProfileRow& row, FLX_ContextData* context) {
    const long long born = context ? context->getNumBorn() : 0, count = context ? context->peekNumParticles() : 0;
    myOpen.push_back({&row, context, 0, 0, born, count, 0, 0});
    myOpen.back().start = now();
}

void CookProfile::end(long long particles) {
    const Open ended = myOpen.back();
    const uint64_t duration = now() - ended.start;
    myOpen.pop_back();
    long long births = 0, deaths = 0;
    if (ended.context) {
        births = ended.context->getNumBorn() - ended.born;
        deaths = births - (ended.context->peekNumParticles() - ended.count);
    }
    if (!myOpen.empty()) {
        Open& outer = myOpen.back();
        outer.nested += duration;
        if (outer.context == ended.context) outer.nestedBirths += births, outer.nestedDeaths += deaths;
    }
    births -= ended.nestedBirths;
    deaths -= ended.nestedDeaths;
    ProfileRow& row = *ended.row;
    ++row.cooks;
    row.total += duration;
    row.own += duration - std::min(ended.nested, duration);
    row.particles = particles;
    row.handled += particles;
    row.births += births;
    row.deaths += deaths;
    if (listener) listener({row, ended.start, duration, particles, births, deaths});
}

void CookProfile::cookBegins(OP_Node& node) { begin(rowOf(node), myOpen.empty() ? nullptr : myOpen.back().context); }

void CookProfile::cookEnds(OP_Node& node) { end(particlesOf(node)); }

void CookProfile::phaseBegins(FLX_ContextData& context, Phase phase) {
    begin(rowAt(context.getName().c_str(), phase == Phase::Step ? "time step" : "flxnet"), &context);
}

// A time step went over those that were there before it, its dead included.
void CookProfile::phaseEnds(FLX_ContextData&, Phase phase) { end(phase == Phase::Step ? myOpen.back().count : 0); }

void CookProfile::passMade(const FLX_Node& node, const char* whyNotQueued) {
    ProfileRow& row = rowOf(node);
    if (whyNotQueued)
        ++row.notQueued[whyNotQueued];
    else
        ++row.queued;
}

void CookProfile::passesRan(const FLX_Node& node, uint64_t nanoseconds) {
    ProfileRow& row = rowOf(node);
    row.own += nanoseconds;
    row.total += nanoseconds;
    row.passTime += nanoseconds;
    if (!myOpen.empty()) myOpen.back().nested += nanoseconds;
}
