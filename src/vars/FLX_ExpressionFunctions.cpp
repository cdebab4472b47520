#include "vars/FLX_ExpressionFunctions.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

#include "core/FLX_ContextData.h"
#include "host/expr/EV_Number.h"
#include "vars/FLX_IdTable.h"

namespace {

const FLX_ContextData* contextOf(const EV_CallContext& call) { return FLX_ContextData::getExpressionData(call.thread); }

const GU_Detail* detailOf(const EV_CallContext& call) {
    const FLX_ContextData* context = contextOf(call);
    return context ? context->getDetail() : nullptr;
}

// ---- events

// What follows `name` and the sign in the first record that begins so; null when none does.
const char* afterSign(const EV_CallContext& call, std::string_view name, char sign) {
    const FLX_ContextData* context = contextOf(call);
    const GB_Attribute* events = context ? context->getEventAttr() : nullptr;
    if (!events) return nullptr;
    for (const std::string& record : events->indexStrings())
        if (record.size() > name.size() && record[name.size()] == sign && record.compare(0, name.size(), name) == 0)
            return record.c_str() + name.size() + 1;
    return nullptr;
}

bool fnEvent(EV_CallContext& call, const EV_Value* args, int, EV_Value& result) {
    result.v[0] = afterSign(call, args[0].s, ':') ? 1 : 0;
    return true;
}

// A time that was withdrawn counts before one that stands.
bool fnEventTime(EV_CallContext& call, const EV_Value* args, int, EV_Value& result) {
    const char* time = afterSign(call, args[0].s, '+');
    if (!time) time = afterSign(call, args[0].s, ':');
    result.v[0] = time ? std::atof(time) : -1;
    return true;
}

// ---- attributes of points

/// Where the named numbers of a point lie.
struct Numbers {
    enum Kind { Missing, Position, Float, Int };
    Kind kind = Missing;
    int offset = 0;
    int count = 0;

    double read(const GEO_Point& point, int i) const {
        if (kind == Position) return double(point.getPos()[i]);
        if (kind == Float) return double(point.castAttribData<float>(offset)[i]);
        return point.castAttribData<int>(offset)[i];
    }
    int component(double index) const { return std::clamp(EV_toInt(index), 0, count - 1); }
};

Numbers findNumbers(const GU_Detail& detail, const std::string& name) {
    if (name == "P") return {Numbers::Position, 0, 3};
    if (name == "Pw") return {Numbers::Position, 0, 4};
    const GB_Attribute* attribute = detail.pointAttribs().find(name);
    if (!attribute || attribute->components() == 0) return {};
    const Numbers::Kind kind = GBisFloatType(attribute->getType())     ? Numbers::Float
                               : attribute->getType() == GB_ATTRIB_INT ? Numbers::Int
                                                                       : Numbers::Missing;
    return {kind, attribute->getOffset(), attribute->components()};
}

/// The last look-ups of a thread, each good until its detail's layout changes.
class NumbersCache {
public:
    const Numbers& find(const GU_Detail& detail, const std::string& name) {
        Line& line = myLines[place(name)];
        const uint64_t layout = detail.pointAttribs().layoutSerial();
        if (line.dataId == detail.dataId() && line.layout == layout && line.name == name) return line.numbers;
        line.dataId = detail.dataId();
        line.layout = layout;
        line.name = name;
        return line.numbers = findNumbers(detail, name);
    }

private:
    struct Line {
        uint64_t dataId = 0;
        uint64_t layout = 0;
        std::string name;
        Numbers numbers;
    };
    static size_t place(const std::string& name) {
        return name.empty() ? 0 : (name.size() * 5 + size_t(name.front()) + size_t(name.back()) * 3) % 16;
    }
    std::array<Line, 16> myLines;
};

const Numbers& numbersOf(const GU_Detail& detail, const std::string& name) {
    static thread_local NumbersCache cache;
    return cache.find(detail, name);
}

/// Tables of the details that were asked last: a scene may have several particle networks.
class IdTables {
public:
    FLX_IdTable& of(const GU_Detail& detail) {
        const auto known = std::find_if(myTables.begin(), myTables.end(),
                                        [&](const FLX_IdTable& table) { return table.serves(detail); });
        return known != myTables.end() ? *known : myTables[myNext++ % myTables.size()];
    }

private:
    std::array<FLX_IdTable, 4> myTables;
    size_t myNext = 0;
};

const GEO_Point* particleOf(const GU_Detail& detail, double id) {
    static thread_local IdTables tables;
    return tables.of(detail).find(detail, EV_toInt(id));
}

// Between two points; exactly the first one's value where nothing is to be mixed.
double between(const Numbers& numbers, const GEO_Point& a, const GEO_Point& b, double f, int i) {
    const double first = numbers.read(a, i);
    if (numbers.kind == Numbers::Int || &a == &b || f == 0) return first;
    return (1 - f) * first + f * numbers.read(b, i);
}

bool fnPoint(EV_CallContext& call, const EV_Value* args, int, EV_Value& result) {
    const GU_Detail* detail = detailOf(call);
    const size_t count = detail ? detail->points().entries() : 0;
    if (count == 0) return true;
    const Numbers& numbers = numbersOf(*detail, args[1].s);
    if (numbers.kind == Numbers::Missing) return true;
    const double n = args[0].number(), whole = std::floor(n), last = double(count - 1);
    const auto point = [&](double number) -> const GEO_Point& {
        return *detail->points()(size_t(std::isnan(number) ? 0 : std::clamp(number, 0.0, last)));
    };
    const double fraction = std::isfinite(n) ? n - whole : 0;
    result.v[0] = between(numbers, point(whole), point(whole + 1), fraction, numbers.component(args[2].number()));
    return true;
}

bool fnPointId(EV_CallContext& call, const EV_Value* args, int, EV_Value& result) {
    const GU_Detail* detail = detailOf(call);
    const GEO_Point* point = detail ? particleOf(*detail, args[0].number()) : nullptr;
    if (!point) return true;
    const Numbers& numbers = numbersOf(*detail, args[1].s);
    if (numbers.kind == Numbers::Missing) return true;
    result.v[0] = numbers.read(*point, numbers.component(args[2].number()));
    return true;
}

bool fnPointNum(EV_CallContext& call, const EV_Value* args, int, EV_Value& result) {
    const GU_Detail* detail = detailOf(call);
    const GEO_Point* point = detail ? particleOf(*detail, args[0].number()) : nullptr;
    result.v[0] = point ? double(detail->points().number(point)) : -1;
    return true;
}

bool fnContextGeo(EV_CallContext& call, const EV_Value* args, int, EV_Value& result) {
    const FLX_ContextData* context = contextOf(call);
    const double index = std::trunc(args[0].number());
    UT_String path;
    if (context && index >= 0 && index <= 3) context->getInputGeo(path, int(index));
    result = EV_Value(path.str());
    return true;
}

constexpr EV_Type theText[] = {EV_STRING};
constexpr EV_Type theNumber[] = {EV_FLOAT};
constexpr EV_Type thePointArgs[] = {EV_FLOAT, EV_STRING, EV_FLOAT};

// clang-format off
const EV_FUNCTION theFunctions[] = {
    {0, "flxevent",      1, EV_FLOAT,  theText,      fnEvent,      "1 while the particle network's event is raised, else 0", "\"event\""},
    {0, "flxeventtime",  1, EV_FLOAT,  theText,      fnEventTime,  "seconds at which the event was last raised, -1 if never", "\"event\""},
    {0, "flxpoint",      3, EV_FLOAT,  thePointArgs, fnPoint,      "component of a particle's attribute by point number, mixed between two numbers; 0 without it", "point, \"attribute\", component"},
    {0, "flxpointid",    3, EV_FLOAT,  thePointArgs, fnPointId,    "component of an attribute of the particle with that id; 0 without it", "id, \"attribute\", component"},
    {0, "flxpointnum",   1, EV_FLOAT,  theNumber,    fnPointNum,   "point number of the particle with that id, -1 without it", "id"},
    {0, "flxcontextgeo", 1, EV_STRING, theNumber,    fnContextGeo, "path of the particle network's context geometry 0 to 3, else empty", "index"},
};
// clang-format on

} // namespace

std::span<const EV_FUNCTION> FLXexpressionFunctions() { return theFunctions; }
