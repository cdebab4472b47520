#include "vars/FLX_ParticleColumns.h"

#include <algorithm>

#include "host/expr/EV_Code.h"
#include "vars/FLX_LocalVar.h"

// ---- what is evaluated

bool FLX_ParticleColumns::place(int id, Placed& out) const {
    if (const FLX_ParticleVariable* variable = FLX_ParticleVariables::find(id))
        return myOperator.variableReader().field(*variable, out.offset, out.field);
    const FLX_ContextData* context = myOperator.variableContext();
    int offset = 0;
    bool isInt = false;
    if (!context || !context->userVariables().place(id, offset, isInt)) return false;
    out.offset = ptrdiff_t(sizeof(GEO_Point)) + offset;
    out.field.kind = isInt ? VM_Field::Int : VM_Field::Float;
    return true;
}

// A variable whose attribute is missing warns when it is read, so it is left to the node.
EV_Columns::Local FLX_ParticleColumns::classify(int id, double& number) {
    Placed placed;
    const FLX_ParticleVariable* variable = FLX_ParticleVariables::find(id);
    if (!variable) return place(id, placed) ? EV_Columns::Local::Input : EV_Columns::Local::Refused;
    FLX_VariableReader& reader = myOperator.variableReader();
    if (!reader.isPresent(*variable)) return EV_Columns::Local::Refused;
    if (variable->test != FLX_VarTest::Constant) return EV_Columns::Local::Input;
    myOperator.flushPasses(); // a number of points may be asked for
    number = double(reader.value(*variable, nullptr, 0));
    return EV_Columns::Local::Number;
}

// The box is computed when it is first read; where a condition stands before that, particles may have moved by then.
bool FLX_ParticleColumns::readsPendingBox(EV_EXPRESSION& expression) {
    const EV_Analysis& analysis = expression.analysis(myOperator.scope());
    const bool reads = std::any_of(analysis.locals.begin(), analysis.locals.end(), [](int id) {
        const FLX_ParticleVariable* variable = FLX_ParticleVariables::find(id);
        return variable && variable->read == FLX_VarRead::BoundingBox;
    });
    if (!reads || !myOperator.variableReader().boxIsPending()) return false;
    myNeedsBox = myNeedsBox || !analysis.conditional;
    return analysis.conditional;
}

int FLX_ParticleColumns::add(int index, int component, float t, bool isInt) {
    PRM_Parm& parm = myOperator.parms().parm(index);
    if (!myEnabled || parm.row().type == PRM_Type::Multi) return -1;
    Output out{&parm.row(), -1, isInt};
    EV_EXPRESSION* expression = parm.component(component).expression();
    if (!expression) {
        if (isInt)
            out.fixedInt = myOperator.evalInt(index, component, t);
        else
            out.fixedFloat = myOperator.evalFloat(index, component, t);
    } else {
        if (readsPendingBox(*expression)) return -1;
        out.result = myExpressions.add(*expression, myOperator.scope(), double(t),
                                       [this](int id, double& number) { return classify(id, number); });
        if (out.result < 0) return -1;
    }
    myOutputs.push_back(out);
    return int(myOutputs.size()) - 1;
}

// ---- how the variables are fetched

void FLX_ParticleColumns::addToWindow(const Placed& placed) {
    const auto fits = [&](const Window& window) {
        const ptrdiff_t at = placed.offset - window.offset;
        return at >= 0 && at < 16 && at % 4 == 0 && window.inputs[at / 4] < 0;
    };
    auto window = std::find_if(myWindows.begin(), myWindows.end(), fits);
    if (window == myWindows.end()) window = myWindows.insert(myWindows.end(), {placed.offset, {-1, -1, -1, -1}, {}});
    const ptrdiff_t i = (placed.offset - window->offset) / 4;
    window->inputs[i] = placed.input;
    window->fields[i] = placed.field;
}

void FLX_ParticleColumns::planInputs() {
    std::vector<Placed> placed;
    const std::vector<int>& ids = myExpressions.inputs();
    for (int i = 0; i < int(ids.size()); ++i) {
        Placed one{i, 0, {}};
        if (place(ids[size_t(i)], one))
            placed.push_back(one);
        else
            myComputed.push_back({i, FLX_ParticleVariables::find(ids[size_t(i)])});
    }
    std::stable_sort(placed.begin(), placed.end(),
                     [](const Placed& a, const Placed& b) { return a.offset < b.offset; });
    for (const Placed& one : placed) addToWindow(one);
}

void FLX_ParticleColumns::finish() {
    if (empty()) return;
    myExpressions.finish();
    planInputs();
    if (myNeedsBox) {
        myOperator.flushPasses();
        myOperator.variableReader().settleBox();
    }
    myReader = myOperator.variableReader();
    for (Output& out : myOutputs) {
        if (out.result < 0 || !myExpressions.isNumber(out.result)) continue;
        const double number = myExpressions.number(out.result);
        out.row->numbers(&number, &out.fixedFloat, 1);
        out.fixedNaN = out.row->numbers(&number, &out.fixedInt, 1);
        out.result = -1;
    }
}

bool FLX_ParticleColumns::countsParticles() const {
    return std::any_of(myComputed.begin(), myComputed.end(), [](const Computed& computed) {
        return computed.variable->read == FLX_VarRead::Iteration || computed.variable->read == FLX_VarRead::PointNumber;
    });
}

void FLX_ParticleColumns::fetch(const VM_Records& records, const char* const* pointers, int iteration, double* memory) {
    for (Window& window : myWindows) {
        for (int i = 0; i < 4; ++i)
            window.fields[i].to =
                window.inputs[i] < 0 ? nullptr : myExpressions.input(memory, size_t(window.inputs[i]));
        VM_fetch(records, window.offset, window.fields);
    }
    for (const Computed& computed : myComputed) {
        double* to = myExpressions.input(memory, size_t(computed.input));
        for (int k = 0; k < records.count; ++k)
            to[k] = double(
                myReader.value(*computed.variable, reinterpret_cast<const GEO_Point*>(pointers[k]), iteration + k));
    }
}

// ---- a block

namespace {

bool ascend(const uint32_t* slots, size_t n) {
    uint32_t falls = 0;
    for (size_t k = 1; k < n; ++k) falls |= slots[k] > slots[k - 1] ? 0u : 1u;
    return falls == 0;
}

// Records one after the other, as they are where nothing has died.
bool inARow(const uint32_t* slots, size_t n) {
    uint32_t different = 0;
    for (size_t k = 0; k < n; ++k) different |= slots[k] ^ (slots[0] + uint32_t(k));
    return different == 0;
}

// Vectors that lie across cache lines cost twice.
constexpr size_t ALIGNMENT = 64;
double* aligned(double* at) {
    return reinterpret_cast<double*>((reinterpret_cast<uintptr_t>(at) + ALIGNMENT - 1) & ~uintptr_t(ALIGNMENT - 1));
}

// How many slots there are before one that has been there already.
size_t countDistinct(const uint32_t* slots, size_t n) {
    if (ascend(slots, n)) return n;
    constexpr size_t SIZE = 4 * FLX_Chunk::SIZE; // never nearly full
    uint16_t places[SIZE] = {};                  // 1 + index
    for (size_t k = 0; k < n; ++k) {
        size_t h = slots[k] * 0x9e3779b1u >> 22;
        for (; places[h]; h = (h + 1) % SIZE)
            if (slots[places[h] - 1u] == slots[k]) return k;
        places[h] = uint16_t(k + 1);
    }
    return n;
}

} // namespace

FLX_ColumnBlock::FLX_ColumnBlock(FLX_ParticleColumns& columns, const FLX_Chunk& chunk)
    : myColumns(columns)
    , myIsRow(inARow(chunk.slots, chunk.count))
    , myCount(myIsRow ? chunk.count : countDistinct(chunk.slots, chunk.count))
    , myFloatMemory(columns.myOutputs.size() * FLX_Chunk::SIZE)
    , myIntMemory(columns.myOutputs.size() * FLX_Chunk::SIZE)
    , myFloats(myFloatMemory.data())
    , myInts(myIntMemory.data()) {
    evaluate(chunk);
}

void FLX_ColumnBlock::evaluate(const FLX_Chunk& chunk) {
    const char* pointers[FLX_Chunk::SIZE];
    const size_t n = myCount, stride = chunk.access.stride();
    const auto record = [&](size_t k) { return reinterpret_cast<const char*>(chunk.point(k)); };
    const bool isRow = myIsRow && record(n - 1) == record(0) + (n - 1) * stride;
    if (!isRow || !myColumns.myComputed.empty())
        for (size_t k = 0; k < n; ++k) {
            pointers[k] = record(k);
            if (!isRow) __builtin_prefetch(pointers[k], 1);
        }
    EV_Borrowed<double> borrowed(myColumns.myExpressions.memorySize() + ALIGNMENT / sizeof(double));
    double* const memory = aligned(borrowed.data());
    myColumns.fetch({isRow ? nullptr : pointers, record(0), stride, int(n)}, pointers, chunk.iteration, memory);
    myColumns.myExpressions.run(memory, int(n));
    roundResults(memory);
}

void FLX_ColumnBlock::roundResults(const double* memory) {
    for (int i = 0; i < int(myColumns.myOutputs.size()); ++i) {
        const FLX_ParticleColumns::Output& out = output(i);
        if (out.fixedNaN) myNaNs.push_back({out.row, std::bitset<FLX_Chunk::SIZE>().set()});
        if (out.result < 0) continue;
        const double* column = myColumns.myExpressions.column(memory, out.result);
        const bool anyNaN = out.isInt ? out.row->numbers(column, myInts + at(i), int(myCount))
                                      : out.row->numbers(column, myFloats + at(i), int(myCount));
        if (anyNaN) noteNaN(out, column);
    }
}

void FLX_ColumnBlock::noteNaN(const FLX_ParticleColumns::Output& out, const double* column) {
    auto& particles = myNaNs.emplace_back(out.row, 0).second;
    for (size_t k = 0; k < myCount; ++k) particles.set(k, column[k] != column[k]);
}

void FLX_ColumnBlock::warn(const PRM_Template& row) const { myColumns.myOperator.warnNotANumber(row); }
