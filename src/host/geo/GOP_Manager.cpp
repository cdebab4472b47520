#include "host/geo/GOP_Manager.h"

#include "host/geo/GEO_Detail.h"
#include "host/ut/UT_PatternMatch.h"
#include "host/ut/UT_String.h"

#include <optional>
#include <string_view>

namespace {

struct Range {
    uint64_t first, last, step;
};

// Takes digits off the front; huge numbers saturate, they only ever mean "past the end".
std::optional<uint64_t> takeNumber(std::string_view& text) {
    constexpr uint64_t LIMIT = uint64_t{1} << 40;
    if (text.empty() || text[0] < '0' || text[0] > '9') return std::nullopt;
    uint64_t n = 0;
    for (; !text.empty() && text[0] >= '0' && text[0] <= '9'; text.remove_prefix(1))
        n = std::min(LIMIT, n * 10 + static_cast<uint64_t>(text[0] - '0'));
    return n;
}

bool take(std::string_view& text, char c) {
    if (text.empty() || text[0] != c) return false;
    text.remove_prefix(1);
    return true;
}

// "3", "0-9" or "0-9:2".
std::optional<Range> parseRange(std::string_view text) {
    const auto first = takeNumber(text);
    if (!first) return std::nullopt;
    if (text.empty()) return Range{*first, *first, 1};
    const auto last = take(text, '-') ? takeNumber(text) : std::nullopt;
    if (!last) return std::nullopt;
    uint64_t step = 1;
    if (take(text, ':')) step = takeNumber(text).value_or(0);
    if (!text.empty() || step < 1 || *last < *first) return std::nullopt;
    return Range{*first, *last, step};
}

bool hasOpenBracket(std::string_view text) {
    const size_t open = text.rfind('[');
    return open != std::string_view::npos && text.find(']', open) == std::string_view::npos;
}

// What the parser asks of a detail for one element class.
template <class Group> struct Elements;

template <> struct Elements<GB_PointGroup> {
    static const GB_PointGroupList& groups(const GEO_Detail& d) { return d.pointGroups(); }
    static const GB_RecordPool& records(const GEO_Detail& d) { return d.pointRecords(); }
    static size_t count(const GEO_Detail& d) { return d.points().entries(); }
    static uint32_t slot(const GEO_Detail& d, size_t number) { return d.points().slotAt(number); }
};

template <> struct Elements<GB_PrimitiveGroup> {
    static const GB_PrimitiveGroupList& groups(const GEO_Detail& d) { return d.primitiveGroups(); }
    static const GB_RecordPool& records(const GEO_Detail& d) { return d.primitiveRecords(); }
    static size_t count(const GEO_Detail& d) { return d.primitives().entries(); }
    static uint32_t slot(const GEO_Detail& d, size_t number) { return d.primitives()[number]->slot(); }
};

template <class Group> class GroupParser {
public:
    using Of = Elements<Group>;
    GroupParser(const GEO_Detail& detail, Group& out, bool strict, bool numbered)
        : myDetail(detail)
        , myOut(out)
        , myStrict(strict)
        , myNumbered(numbered) {}

    bool parse(std::string_view text) {
        const auto tokens = UTsplit(text);
        if (!tokens.empty() && tokens.front().front() == '!')
            Of::records(myDetail).forEachLive([&](uint32_t slot) { myOut.addSlot(slot); });
        for (std::string_view token : tokens)
            if (!apply(token)) return false;
        return true;
    }

private:
    bool apply(std::string_view token) {
        const bool remove = take(token, '!');
        if (token.empty()) return false;
        if (token[0] >= '0' && token[0] <= '9') return applyNumbers(token, remove);
        if (UThasWildcard(token)) return applyPattern(token, remove);
        const Group* named = Of::groups(myDetail).find(token);
        if (named) applyGroup(*named, remove);
        return named || !myStrict;
    }

    bool applyNumbers(std::string_view token, bool remove) {
        const auto range = myNumbered ? parseRange(token) : std::nullopt;
        if (!range) return false;
        const uint64_t end = Of::count(myDetail);
        for (uint64_t n = range->first; n <= range->last && n < end; n += range->step) {
            const uint32_t slot = Of::slot(myDetail, static_cast<size_t>(n));
            remove ? myOut.removeSlot(slot) : myOut.addSlot(slot);
        }
        return true;
    }

    bool applyPattern(std::string_view token, bool remove) {
        if (hasOpenBracket(token)) return false;
        const bool internalToo = token.starts_with("__");
        const auto& groups = Of::groups(myDetail);
        for (const Group* g = groups.head(); g; g = groups.next(g))
            if ((internalToo || !g->getInternal()) && UTglobMatch(token, g->getName())) applyGroup(*g, remove);
        return true;
    }

    void applyGroup(const Group& group, bool remove) {
        myOut.combine(remove ? GU_GroupBoolOp::SUBTRACT : GU_GroupBoolOp::UNION, group.slots());
    }

    const GEO_Detail& myDetail;
    Group& myOut;
    bool myStrict, myNumbered;
};

// Parses into a group that `owner` keeps; null when the string does not parse.
template <class Group>
Group* parseAdhoc(std::vector<std::shared_ptr<Group>>& owner, const char* text, const GEO_Detail* detail, bool strict,
                  bool numbered) {
    if (!text || !detail) return nullptr;
    auto group = Elements<Group>::groups(*detail).newAdhoc();
    if (!GroupParser<Group>(*detail, *group, strict, numbered).parse(text)) return nullptr;
    owner.push_back(group);
    return group.get();
}

// The existing group when the string is just its name.
template <class Group> const Group* namedGroup(const char* text, const GEO_Detail* detail) {
    if (!text || !detail) return nullptr;
    const auto tokens = UTsplit(text);
    return tokens.size() == 1 ? Elements<Group>::groups(*detail).find(tokens[0]) : nullptr;
}

} // namespace

const GB_PointGroup* GOP_Manager::parsePointGroups(const char* groups, const GEO_Detail* detail, int strict,
                                                   int numbered, int, int) {
    const GB_PointGroup* named = namedGroup<GB_PointGroup>(groups, detail);
    return named ? named : parseAdhoc(myPointGroups, groups, detail, strict != 0, numbered != 0);
}

const GB_PrimitiveGroup* GOP_Manager::parsePrimitiveGroups(const char* groups, const GEO_Detail* detail, int strict,
                                                           int numbered, int, int) {
    const GB_PrimitiveGroup* named = namedGroup<GB_PrimitiveGroup>(groups, detail);
    return named ? named : parseAdhoc(myPrimGroups, groups, detail, strict != 0, numbered != 0);
}

GB_PointGroup* GOP_Manager::parsePointGroupsCopy(const char* groups, const GEO_Detail* detail, int strict, int numbered,
                                                 int) {
    return parseAdhoc(myPointGroups, groups, detail, strict != 0, numbered != 0);
}

GB_PrimitiveGroup* GOP_Manager::parsePrimitiveGroupsCopy(const char* groups, const GEO_Detail* detail, int strict,
                                                         int numbered, int) {
    return parseAdhoc(myPrimGroups, groups, detail, strict != 0, numbered != 0);
}

void GOP_Manager::destroyAdhocGroups() {
    myPointGroups.clear();
    myPrimGroups.clear();
}
