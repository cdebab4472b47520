#include "host/expr/EV_ColumnGraph.h"
#include "host/expr/EV_Code.h"
#include "host/vm/VM_Builder.h"
#include "host/vm/VM_Machine.h"
#include <algorithm>

namespace {

bool isJump(VM_Op op) { return op == VM_Op::JumpNone || op == VM_Op::JumpAll; }

// Worth a test whether any lane needs it.
bool isExpensive(VM_Op op) {
    const bool function = op >= VM_Op::Rand && op <= VM_Op::Log10;
    return function || op == VM_Op::Mod || op == VM_Op::Pow || op == VM_Op::Atan2 || op >= VM_Op::Noise;
}

// One operation for both, where there is one: of what `inner` does, which is operand k of the other, and operand 1 - k.
VM_Op fused(VM_Op op, VM_Op inner, int k) {
    if (inner == VM_Op::Mul && op == VM_Op::Add) return VM_Op::MulAdd;
    if (inner == VM_Op::Mul && op == VM_Op::Sub) return k == 0 ? VM_Op::MulSub : VM_Op::SubMul;
    if (op == VM_Op::And && (inner == VM_Op::Lt || inner == VM_Op::Gt)) return VM_Op::LtAnd;
    if (op == VM_Op::And && (inner == VM_Op::Le || inner == VM_Op::Ge)) return VM_Op::LeAnd;
    return VM_Op::End;
}

} // namespace

// ---- what is to be computed

EV_ColumnGraph::Value EV_ColumnGraph::inputValue(int id) {
    const auto known = std::find_if(myInputNodes.begin(), myInputNodes.end(),
                                    [&](Value node) { return myNodes[size_t(node)].id == id; });
    if (known != myInputNodes.end()) return *known;
    myNodes.push_back({VM_Op::End, {}, id});
    return myInputNodes.emplace_back(Value(myNodes.size() - 1));
}

EV_ColumnGraph::Value EV_ColumnGraph::emit(VM_Op op, const Value* src) {
    const int arity = VM_arity(op);
    if (std::all_of(src, src + arity, [](Value v) { return v < 0; })) {
        double n[4] = {0, 0, 0, 0};
        std::transform(src, src + arity, n, [this](Value v) { return numberOf(v); });
        return numberValue(VM_apply(op, n[0], n[1], n[2], n[3]));
    }
    if (op == VM_Op::Select && src[0] < 0) return numberOf(src[0]) != 0 ? src[1] : src[2];
    Node node{op, {}, 0};
    std::copy(src, src + arity, node.src);
    // Few nodes, a thousand at most: looking at each is cheaper than a table.
    for (size_t i = myNodes.size(); i-- > 0;)
        if (myNodes[i].op == op && myNodes[i].isKnown && std::equal(src, src + arity, myNodes[i].src)) return Value(i);
    node.isKnown = true;
    myNodes.push_back(node);
    return Value(myNodes.size() - 1);
}

// A jump over cheap code costs more than the code.
void EV_ColumnGraph::enterRegion(const EV_Code& code, size_t at, Value condition, std::vector<Region>& regions) {
    const VM_Instruction& jump = code.program.code[at];
    const auto begin = code.program.code.begin();
    const bool pays = std::any_of(begin + std::ptrdiff_t(at), begin + std::ptrdiff_t(jump.target),
                                  [](const VM_Instruction& i) { return isExpensive(i.op); });
    if (!pays || condition < 0) return;
    regions.push_back({jump.target, myNodes.size(), myNodes.size()});
    myNodes.push_back({jump.op, {condition, 0, 0, 0}, 0});
}

// What was computed in code that may have been skipped is not known behind it.
void EV_ColumnGraph::leaveRegions(size_t at, std::vector<Region>& regions) {
    size_t known = myNodes.size();
    for (const Region& region : regions)
        if (region.end == at) {
            myNodes[region.jump].target = myNodes.size();
            known = std::min(known, region.known);
        }
    if (known == myNodes.size()) return;
    std::erase_if(regions, [at](const Region& region) { return region.end == at; });
    for (Region& region : regions) region.known = std::min(region.known, known);
    for (size_t i = known; i < myNodes.size(); ++i) myNodes[i].isKnown = false;
}

EV_ColumnGraph::Value EV_ColumnGraph::lower(const EV_Code& code, const Value* variables) {
    const VM_Program& program = code.program;
    const Value zero = numberValue(0);
    std::vector<Value> registers(size_t(program.numRegisters), zero);
    std::transform(program.constants.begin(), program.constants.end(), registers.begin(),
                   [this](double number) { return numberValue(number); });
    std::vector<Region> regions;
    for (size_t at = 0; at < program.code.size(); ++at) {
        const VM_Instruction& i = program.code[at];
        leaveRegions(at, regions);
        if (i.op == VM_Op::End) break;
        Value src[4];
        for (int k = 0; k < 4; ++k) src[k] = registers[i.src[k]];
        if (isJump(i.op))
            enterRegion(code, at, src[0], regions);
        else
            registers[i.dst] = i.op == VM_Op::Host ? variables[i.target] : emit(i.op, src);
    }
    return registers[program.results[0]];
}

EV_ColumnGraph::EV_ColumnGraph(const EV_ColumnList& list) {
    std::vector<Value> variables;
    size_t size = 0;
    for (const EV_Code* code : list.codes()) size += code->program.code.size();
    myNodes.reserve(list.key().variables.size() + size);
    for (const EV_ColumnList::Variable& variable : list.key().variables)
        variables.push_back(variable.id < 0 ? numberValue(variable.value()) : inputValue(variable.id));
    const Value* at = variables.data();
    for (const EV_Code* code : list.codes()) {
        myResults.push_back(lower(*code, at));
        at += code->sites.size();
    }
    findRead();
    fuse();
}

// ---- the program

bool EV_ColumnGraph::skipsAnything(size_t jump) const {
    const auto begin = myNodes.begin() + std::ptrdiff_t(jump) + 1;
    return std::any_of(begin, myNodes.begin() + std::ptrdiff_t(myNodes[jump].target),
                       [](const Node& node) { return node.isRead && isExpensive(node.op); });
}

void EV_ColumnGraph::findRead() {
    for (Value result : myResults) markRead(result);
    for (size_t i = myNodes.size(); i-- > 0;) {
        Node& node = myNodes[i];
        if (isJump(node.op)) node.isRead = skipsAnything(i);
        for (int k = 0; node.isRead && k < VM_arity(node.op); ++k) markRead(node.src[k]);
    }
}

// A sum or difference takes over a product, an "and" a comparison, that nothing else reads: a column less to write and
// to read again.
void EV_ColumnGraph::fuse() {
    std::vector<int> numReads(myNodes.size(), 0);
    const auto count = [&](Value value) {
        if (value >= 0) ++numReads[size_t(value)];
    };
    for (Value result : myResults) count(result);
    for (const Node& node : myNodes)
        for (int k = 0; node.isRead && k < VM_arity(node.op); ++k) count(node.src[k]);
    for (Node& node : myNodes) {
        for (int k = 0; node.isRead && k < 2; ++k) {
            if (node.src[k] < 0 || numReads[size_t(node.src[k])] != 1) continue;
            Node& inner = myNodes[size_t(node.src[k])];
            const VM_Op both = fused(node.op, inner.op, k);
            if (both == VM_Op::End) continue;
            inner.isRead = false;
            const bool mirrored = inner.op == VM_Op::Gt || inner.op == VM_Op::Ge;
            node = {both, {inner.src[mirrored], inner.src[!mirrored], node.src[1 - k], 0}, 0};
            node.isRead = true;
            break;
        }
    }
}

void EV_ColumnGraph::build(std::vector<int>& inputIds, VM_Program& program) {
    VM_Builder builder;
    std::vector<VM_Builder::Value> values(myNodes.size(), 0), inputs;
    std::erase_if(myInputNodes, [this](Value node) { return !myNodes[size_t(node)].isRead; });
    builder.emitHost({}, int(myInputNodes.size()), inputs);
    for (size_t i = 0; i < inputs.size(); ++i) {
        values[size_t(myInputNodes[i])] = inputs[i];
        inputIds.push_back(myNodes[size_t(myInputNodes[i])].id);
    }
    const auto valueOf = [&](Value v) { return v < 0 ? builder.constant(numberOf(v)) : values[size_t(v)]; };
    std::vector<std::pair<size_t, size_t>> jumps; // to the node, and the builder's number
    const auto aim = [&](size_t node) {
        for (const auto& [target, jump] : jumps)
            if (target == node) builder.aimHere(jump);
    };
    for (size_t i = 0; i < myNodes.size(); ++i) {
        aim(i);
        const Node& node = myNodes[i];
        if (!node.isRead || node.op == VM_Op::End) continue;
        if (isJump(node.op))
            jumps.emplace_back(node.target, builder.emitJump(node.op, valueOf(node.src[0])));
        else
            values[i] = builder.emit(
                node.op, {valueOf(node.src[0]), valueOf(node.src[1]), valueOf(node.src[2]), valueOf(node.src[3])});
    }
    aim(myNodes.size());
    std::vector<VM_Builder::Value> results;
    for (Value result : myResults)
        if (result >= 0) results.push_back(values[size_t(result)]);
    builder.finish(results, program); // a list is too small to run out of registers
}
