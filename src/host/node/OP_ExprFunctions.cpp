#include "host/node/OP_ExprFunctions.h"

#include <cmath>

#include "host/expr/EV_Error.h"
#include "host/expr/EV_Function.h"
#include "host/expr/EV_Number.h"
#include "host/expr/EV_Scope.h"
#include "host/node/OP_EvalState.h"
#include "host/node/OP_Node.h"
#include "host/node/SOP_Node.h"
#include "host/ut/UT_BoundingBox.h"
#include "host/ut/UT_NearestName.h"

namespace {

OP_Node* nodeOf(const EV_CallContext& context) {
    OP_Parameters* parms = context.scope ? context.scope->node() : nullptr;
    return parms ? parms->castToNode() : nullptr;
}

// What `from` read to give its result, the reader has read, too.
void inherit(OP_Node& reader, const OP_NodeFlags& from) {
    if (from.timeDependent || from.recook) reader.noteTimeRead();
    if (from.impure) reader.noteImpureRead();
}

// ---- ch, chs

using Channel = OP_ChannelRef;

// The component that a suffix names: x y z w, with or without a dot, or a number from 1. Takes it off the token; -1
// when there is none.
int takeComponent(std::string& token) {
    size_t digits = token.size();
    while (digits > 0 && token[digits - 1] >= '0' && token[digits - 1] <= '9') --digits;
    if (digits < token.size() && token.size() - digits < 4) {
        const int number = std::stoi(token.substr(digits));
        token.resize(digits);
        return number - 1;
    }
    const size_t axis = token.empty() ? std::string::npos : std::string_view("xyzw").find(token.back());
    if (axis == std::string::npos) return -1;
    token.pop_back();
    if (token.ends_with('.')) token.pop_back();
    return int(axis);
}

bool findParm(Channel& channel, std::string token) {
    channel.parm = channel.node->parms().find(token);
    if (channel.parm) return true;
    channel.component = takeComponent(token);
    channel.parm = channel.node->parms().find(token);
    return channel.parm && channel.component >= 0 && channel.parm->size() > 1 &&
           channel.component < channel.parm->size();
}

bool findChannel(EV_CallContext& context, const std::string& path, Channel& channel) {
    OP_Node* self = nodeOf(context);
    if (!self) return context.fail("there is no node here to read parameters of");
    std::string error;
    return OPfindChannel(*self, path, channel, error) || context.fail(error);
}

/// One step of a chain of reads.
class ChainStep {
public:
    ChainStep()
        : myState(OP_EvalState::current()) {
        if (outermost()) {
            myState.chainError.clear();
            myState.chainValues.clear();
        }
        ++myState.chain;
    }
    ~ChainStep() { --myState.chain; }
    ChainStep(const ChainStep&) = delete;
    ChainStep& operator=(const ChainStep&) = delete;

    bool inside() const { return myState.chain > myState.chainBase + 1; }
    bool tooLong() const { return myState.chain > OP_MAX_CHAIN; }
    OP_EvalState& state() { return myState; }

private:
    bool outermost() const { return myState.chain == myState.chainBase; }
    OP_EvalState& myState;
};

// Evaluates with a clean error number; false when the other parameter's own evaluation failed (it has posted that).
bool evaluateChannel(EV_CallContext& context, const Channel& channel, bool text, EV_Value& result) {
    EV_clearError(context.thread);
    OP_Node& other = *channel.node;
    const double t = context.time;
    if (text) {
        UT_String value;
        other.evalString(value, channel.parm->row().token.c_str(), channel.component, float(t), context.thread);
        result = EV_Value(value.str());
    } else {
        result = EV_Value(other.evalNumber(*channel.parm, channel.component, t, context.thread));
    }
    const bool good = EV_errNo(context.thread) == EV_ERR_NONE;
    std::string& error = OP_EvalState::current().chainError;
    if (!good && error.empty()) error = EV_errText(context.thread);
    EV_clearError(context.thread);
    return good;
}

bool failChannel(EV_CallContext& context, const std::string& path) {
    return context.fail("the parameter at \"" + path + "\" cannot be evaluated (" + OP_EvalState::current().chainError +
                        ")");
}

bool readInto(EV_CallContext& context, const Channel& channel, bool text, EV_Value& result) {
    OP_Node& self = *nodeOf(context);
    const OP_NodeFlags before = channel.node->flags();
    OP_NodeFlags& flags = channel.node->flags();
    flags.timeDependent = flags.impure = false;
    const bool good = evaluateChannel(context, channel, text, result);
    OP_NodeFlags read;
    read.timeDependent = flags.timeDependent;
    read.impure = flags.impure;
    flags.timeDependent |= before.timeDependent;
    flags.impure |= before.impure;
    inherit(self, read);
    return good;
}

bool readChannel(EV_CallContext& context, const std::string& path, bool text, EV_Value& result) {
    ChainStep step;
    OP_EvalState& state = step.state();
    if (!state.chainError.empty()) return failChannel(context, path);
    Channel channel;
    if (!findChannel(context, path, channel)) return false;
    nodeOf(context)->addExtraInput(channel.node, OP_INTEREST_DATA);
    const std::tuple<const PRM_Parm*, int, bool> key{channel.parm, channel.component, text};
    if (const auto known = state.chainValues.find(key); step.inside() && known != state.chainValues.end()) {
        result = known->second;
        return true;
    }
    if (step.tooLong()) {
        state.chainError = "more than " + std::to_string(OP_MAX_CHAIN) + " parameters read each other by ch";
        return context.fail(state.chainError);
    }
    if (!readInto(context, channel, text, result)) return failChannel(context, path);
    if (step.inside()) state.chainValues.emplace(key, result);
    return true;
}

bool fnCh(EV_CallContext& context, const EV_Value* args, int, EV_Value& result) {
    return readChannel(context, args[0].s, false, result);
}

bool fnChs(EV_CallContext& context, const EV_Value* args, int, EV_Value& result) {
    return readChannel(context, args[0].s, true, result);
}

// ---- opname, opdigits

std::string noneAt(const std::string& path, OP_PathKind kind) {
    return std::string("there is no ") + (kind == OP_PathKind::Geometry ? "geometry " : "") + "node \"" + path + "\"";
}

OP_Node* nodeAt(EV_CallContext& context, const std::string& path) {
    OP_Node* self = nodeOf(context);
    OP_Node* node = self ? self->findNode(path.c_str()) : nullptr;
    if (!node) context.fail(noneAt(path, OP_PathKind::Node));
    return node;
}

bool fnOpname(EV_CallContext& context, const EV_Value* args, int, EV_Value& result) {
    const OP_Node* node = nodeAt(context, args[0].s);
    if (node) result = EV_Value(node->getName());
    return node != nullptr;
}

bool fnOpdigits(EV_CallContext& context, const EV_Value* args, int, EV_Value& result) {
    const OP_Node* node = nodeAt(context, args[0].s);
    if (!node) return false;
    const std::string& name = node->getName();
    const size_t last = name.find_last_not_of("0123456789");
    double number = 0;
    EV_parseNumber(std::string_view(name).substr(last == std::string::npos ? 0 : last + 1), number);
    result = EV_Value(number);
    return true;
}

// ---- point, npoints, bbox

const GU_Detail* detailAt(EV_CallContext& context, const std::string& path) {
    OP_Node* self = nodeOf(context);
    SOP_Node* sop = self ? self->getSOPNode(path.c_str(), 1) : nullptr;
    if (!sop) {
        context.fail(noneAt(path, OP_PathKind::Geometry));
        return nullptr;
    }
    OP_Context cooking(float(context.time));
    cooking.setThread(context.thread);
    const GU_Detail* detail = sop->cookedDetail(cooking);
    inherit(*self, sop->flags());
    if (detail && sop->errors().severity() < UT_ERROR_ABORT) return detail;
    context.fail("the geometry of " + sop->getFullPath() + " cannot be cooked");
    return nullptr;
}

bool component(const GB_Attribute& attribute, const GEO_Point* point, int i, double& out) {
    const char* data = point->castAttribData<char>(attribute.getOffset());
    if (i < 0 || i >= attribute.getSize() / 4) return false;
    if (GBisFloatType(attribute.getType()))
        out = double(reinterpret_cast<const float*>(data)[i]);
    else
        out = reinterpret_cast<const int*>(data)[i];
    return true;
}

bool fnPoint(EV_CallContext& context, const EV_Value* args, int, EV_Value& result) {
    const GU_Detail* detail = detailAt(context, args[0].s);
    if (!detail) return false;
    const int number = EV_toInt(args[1].number()), index = EV_toInt(args[3].number());
    if (number < 0 || size_t(number) >= detail->points().entries())
        return context.fail("there is no point " + EV_numberText(args[1].number()) + " in " + args[0].s);
    const GEO_Point* point = detail->points()[size_t(number)];
    const std::string& name = args[2].s;
    const GB_Attribute* attribute = detail->pointAttribs().find(name);
    double value = 0;
    bool found = false;
    if (name == "P") {
        found = index >= 0 && index < 4;
        if (found) value = double(point->getPos().data()[index]);
    } else if (attribute) {
        found = component(*attribute, point, index, value);
    } else {
        return context.fail("the points of " + args[0].s + " have no attribute \"" + name + "\"");
    }
    if (!found) return context.fail("\"" + name + "\" has no component " + std::to_string(index));
    result = EV_Value(value);
    return true;
}

bool fnNpoints(EV_CallContext& context, const EV_Value* args, int, EV_Value& result) {
    const GU_Detail* detail = detailAt(context, args[0].s);
    if (detail) result = EV_Value(double(detail->points().entries()));
    return detail != nullptr;
}

/// A measure of a box, as "xmin".
struct Measure {
    explicit Measure(const std::string& name)
        : axis(name.empty() ? std::string::npos : std::string_view("xyz").find(name[0]))
        , kind(name.empty() ? "" : name.substr(1)) {
        if (axis == std::string::npos || (kind != "min" && kind != "max" && kind != "size"))
            error = "\"" + name + "\" is no measure of a box: xmin xmax xsize, ymin ... zsize";
    }
    size_t axis;
    std::string kind, error;
};

bool fnBbox(EV_CallContext& context, const EV_Value* args, int, EV_Value& result) {
    const Measure measure(args[1].s);
    if (!measure.error.empty()) return context.fail(measure.error);
    const GU_Detail* detail = detailAt(context, args[0].s);
    if (!detail) return false;
    UT_BoundingBox box;
    if (!detail->getBBox(box)) return result = EV_Value(0.0), true;
    const double low = double(box.vmin()[int(measure.axis)]), high = double(box.vmax()[int(measure.axis)]);
    result = EV_Value(measure.kind == "min" ? low : measure.kind == "max" ? high : high - low);
    return true;
}

constexpr EV_Type theText[] = {EV_STRING};
constexpr EV_Type theTexts[] = {EV_STRING, EV_STRING};
constexpr EV_Type thePointArgs[] = {EV_STRING, EV_FLOAT, EV_STRING, EV_FLOAT};

// clang-format off
const EV_FUNCTION theFunctions[] = {
    {0, "ch",       1, EV_FLOAT,  theText,      fnCh,       "value of a parameter, by the path of its node and its token, with .x .y .z .w for one of several numbers", "\"path/parm\""},
    {0, "chs",      1, EV_STRING, theText,      fnChs,      "value of a parameter as text", "\"path/parm\""},
    {0, "opname",   1, EV_STRING, theText,      fnOpname,   "name of a node", "path"},
    {0, "opdigits", 1, EV_FLOAT,  theText,      fnOpdigits, "number at the end of a node's name, 0 without one", "path"},
    {0, "point",    4, EV_FLOAT,  thePointArgs, fnPoint,    "component of a point attribute of a geometry node", "path, point, attribute, component"},
    {0, "npoints",  1, EV_FLOAT,  theText,      fnNpoints,  "number of points of a geometry node", "path"},
    {0, "bbox",     2, EV_FLOAT,  theTexts,     fnBbox,     "measure of a geometry node's box: xmin xmax xsize ymin ... zsize", "path, \"xmin\""},
};
// clang-format on

} // namespace

bool OPfindChannel(OP_Node& self, const std::string& path, OP_ChannelRef& channel, std::string& error) {
    const size_t slash = path.rfind('/');
    const std::string nodePath = slash == std::string::npos ? "." : path.substr(0, std::max(slash, size_t(1)));
    const std::string token = slash == std::string::npos ? path : path.substr(slash + 1);
    channel.node = self.findNode(nodePath.c_str());
    if (!channel.node) {
        error = "there is no node \"" + nodePath + "\" seen from " + self.getFullPath();
        return false;
    }
    if (findParm(channel, token)) return true;
    const std::string near = nearestName(token, channel.node->parms().tokens());
    error = channel.node->getFullPath() + " has no parameter \"" + token + "\"" +
            (near.empty() ? std::string() : "; did you mean \"" + near + "\"?");
    return false;
}

void OPaddExpressionFunctions() {
    for (const EV_FUNCTION& function : theFunctions) ev_AddFunction(&function);
}

OP_PathKind OPpathKind(const EV_FUNCTION* function) {
    if (!OPisTrackedFunction(function)) return OP_PathKind::None;
    if (function->callback == fnCh || function->callback == fnChs) return OP_PathKind::Channel;
    const bool namesNode = function->callback == fnOpname || function->callback == fnOpdigits;
    return namesNode ? OP_PathKind::Node : OP_PathKind::Geometry;
}

std::string OPpathError(OP_Node& self, const std::string& path, OP_PathKind kind) {
    const bool found = kind == OP_PathKind::Geometry ? self.getSOPNode(path.c_str()) != nullptr
                                                     : self.findNode(path.c_str()) != nullptr;
    return found ? std::string() : noneAt(path, kind);
}

bool OPisTrackedFunction(const EV_FUNCTION* function) {
    for (const EV_FUNCTION& known : theFunctions)
        if (function == &known) return true;
    return false;
}

std::string OPwordError(const EV_FUNCTION* function, size_t argument, const std::string& word) {
    return function->callback == fnBbox && argument == 1 ? Measure(word).error : std::string();
}
