#include "scene/ChannelCheck.h"

#include "host/expr/EV_Code.h"
#include "host/expr/EV_Function.h"
#include "host/expr/EV_StringExpand.h"
#include "host/node/OP_Node.h"
#include "scene/PathSuggestion.h"

#include <fmt/format.h>
#include <utility>

namespace {

std::string nameOf(const OP_ChannelRef& channel) {
    return channel.node->getFullPath() + "/" + channel.parm->componentName(channel.component);
}

// An argument of a call that is a fixed text, or null.
const std::string* fixedText(const EV_Code& code, const EV_Site& site, size_t argument) {
    const bool fixed = site.kind == EV_Site::Call && argument < site.strings.size() && site.strings[argument] < 0;
    return fixed ? &code.strings[size_t(-1 - site.strings[argument])] : nullptr;
}

std::string callError(const EV_Site& site, const std::string& whole, const std::string& what,
                      const std::string& advice = {}) {
    return EV_makeError(EV_ERR_EVALUATION, whole, site.offset, site.function->name + (": " + what)).message + advice;
}

} // namespace

void ChannelCheck::addReads(const OP_ChannelRef& channel, EV_EXPRESSION& expression, const std::string& whole,
                            std::vector<Read>& reads) {
    if (!expression.bind(channel.node->scope())) return;
    const EV_Code& code = expression.code();
    for (const EV_Site& site : code.sites) {
        OP_Node& node = *channel.node;
        Read read;
        read.conditional = code.analysis.conditional;
        std::string what;
        const std::string* path = fixedText(code, site, 0);
        const OP_PathKind kind = path ? OPpathKind(site.function) : OP_PathKind::None;
        if (kind == OP_PathKind::Channel) {
            if (!OPfindChannel(node, *path, read.to, what)) read.error = callError(site, whole, what);
            reads.push_back(read);
        } else if (kind != OP_PathKind::None && !(what = OPpathError(node, *path, kind)).empty()) {
            read.error = callError(site, whole, what, suggestPath(node, *path));
            reads.push_back(read);
        }
        for (size_t i = 1; const std::string* word = fixedText(code, site, i); ++i) {
            if ((what = OPwordError(site.function, i, *word)).empty()) continue;
            read.error = callError(site, whole, what);
            reads.push_back(read);
        }
    }
}

std::vector<ChannelCheck::Read> ChannelCheck::readsOf(const OP_ChannelRef& channel) {
    std::vector<Read> reads;
    PRM_Parm& parm = *channel.parm;
    if (channel.component < parm.size())
        if (EV_EXPRESSION* expression = parm.component(channel.component).expression())
            addReads(channel, *expression, expression->text(), reads);
    if (parm.row().stringKind == PRM_StringKind::VectorExpression) {
        EV_EXPRESSION expression(parm.text(), 3);
        addReads(channel, expression, parm.text(), reads);
    } else if (parm.row().type == PRM_Type::String) {
        if (EV_StringExpand* expansion = parm.expansion())
            expansion->forEachPart([&](EV_EXPRESSION& part) { addReads(channel, part, parm.text(), reads); });
    }
    return reads;
}

bool ChannelCheck::findCircle(const OP_ChannelRef& from, const OP_ChannelRef& start, bool conditional) {
    myWay.push_back(from);
    const std::vector<Read> reads = readsOf(from);
    if (myWay.size() > size_t(OP_MAX_CHAIN)) {
        if (!reads.empty() && !std::exchange(myIsTooLong, true)) myTooLongIsConditional = conditional;
        myWay.pop_back();
        return false;
    }
    for (const Read& read : reads) {
        if (!read.error.empty()) continue;
        const bool maybe = conditional || read.conditional;
        if (read.to.parm == start.parm && read.to.component == start.component) {
            myWayIsConditional = maybe;
            return true;
        }
        if (myVisited.insert({read.to.parm, read.to.component}).second && findCircle(read.to, start, maybe))
            return true;
    }
    myWay.pop_back();
    return false;
}

std::vector<ChannelCheck::Finding> ChannelCheck::check(const OP_ChannelRef& channel) {
    std::vector<Finding> out;
    for (const Read& read : readsOf(channel))
        if (!read.error.empty()) out.push_back({!read.conditional, read.error});
    myVisited.clear();
    myWay.clear();
    myIsTooLong = false;
    if (myTold.contains({channel.parm, channel.component})) return out;
    if (!findCircle(channel, channel, false)) {
        if (myIsTooLong)
            out.push_back({!myTooLongIsConditional,
                           fmt::format("more than {} parameters read each other by ch in a row", OP_MAX_CHAIN)});
        return out;
    }
    std::string way;
    for (const OP_ChannelRef& step : myWay) {
        myTold.insert({step.parm, step.component});
        way += nameOf(step) + " -> ";
    }
    out.push_back(
        {!myWayIsConditional, fmt::format("parameters read each other in a circle by ch: {}{}", way, nameOf(channel))});
    return out;
}
