#pragma once

#include "core/FLX_CookRecorder.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

/// What a node, or a network's time step, or what a network does beside its nodes and steps, took over a run.
struct ProfileRow {
    std::string path;        ///< of the node, or of the network
    std::string type;        ///< the node's type, "time step", or "flxnet"
    long long cooks = 0;     ///< time steps, for a time step
    uint64_t own = 0;        ///< nanoseconds without what ran inside: inputs, nodes of a sub-network, geometry
    uint64_t total = 0;      ///< nanoseconds with that
    long long particles = 0; ///< that the last cook put out or went over; 0 where there are none
    long long handled = 0;   ///< the same, summed over all cooks
    long long births = 0;    ///< during its own work
    long long deaths = 0;    ///< removals, during its own work: most are the time step's
    long long queued = 0;    ///< loops left to the queue of passes
    uint64_t passTime = 0;   ///< nanoseconds of these in the queue; part of `own`
    std::map<std::string, long long> notQueued; ///< loops that ran at once, by reason
};

/// One cook or time step that has ended.
struct ProfileEvent {
    const ProfileRow& row;
    uint64_t start, duration; ///< nanoseconds since the profile was made
    long long particles, births, deaths;
};

/// Sums up what contexts and nodes tell while they cook. Of all times taken the rows' own times hold each nanosecond
/// once. Work on one thread.
class CookProfile final : public FLX_CookRecorder {
public:
    using Clock = std::function<uint64_t()>;
    /// The clock tells nanoseconds and never goes back; without one it is the system's.
    explicit CookProfile(Clock clock = {});

    /// Is called at the end of every cook and time step.
    std::function<void(const ProfileEvent&)> listener;

    uint64_t now() const override { return myClock() - myStart; }
    /// The largest own time first.
    std::vector<const ProfileRow*> sorted() const;

    void cookBegins(OP_Node& node) override;
    void cookEnds(OP_Node& node) override;
    void phaseBegins(FLX_ContextData& context, Phase phase) override;
    void phaseEnds(FLX_ContextData& context, Phase phase) override;
    void passMade(const FLX_Node& node, const char* whyNotQueued) override;
    void passesRan(const FLX_Node& node, uint64_t nanoseconds) override;

private:
    /// Something that has begun and not ended; the counts are the context's at the start, and what ran inside.
    struct Open {
        ProfileRow* row;
        FLX_ContextData* context;
        uint64_t start, nested;
        long long born, count;
        long long nestedBirths, nestedDeaths;
    };

    ProfileRow& rowOf(const OP_Node& node);
    ProfileRow& rowAt(const std::string& path, const std::string& type);
    void begin(ProfileRow& row, FLX_ContextData* context);
    void end(long long particles);

    Clock myClock;
    uint64_t myStart;
    std::deque<ProfileRow> myRows;
    std::map<std::pair<std::string, std::string>, ProfileRow*> myByName; ///< by path and type
    std::map<int, ProfileRow*> myByNode;                                 ///< by unique id
    std::vector<Open> myOpen;
};
