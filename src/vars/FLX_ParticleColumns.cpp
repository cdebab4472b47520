#include "vars/FLX_ParticleColumns.h"

#include <algorithm>

#include "host/expr/EV_Code.h"
#include "vars/FLX_LocalVar.h"

// ---- what is evaluated

bool FLX_ParticleColumns::place(int id, VM_Field& field) const {
    if (const FLX_ParticleVariable* variable = FLX_ParticleVariables::find(id))
        return myOperator.variableReader().field(*variable, field);
    const FLX_ContextData* context = myOperator.variableContext();
    int offset = 0;
    bool isInt = false;
    if (!context || !context->userVariables().place(id, offset, isInt)) return false;
    field.offset = ptrdiff_t(sizeof(GEO_Point)) + offset;
    field.kind = isInt ? VM_Field::Int : VM_Field::Float;
    return true;
}

// A variable whose attribute is missing warns when it is read, so it is left to the node.
EV_ColumnList::Local FLX_ParticleColumns::classify(int id, double& number) {
    VM_Field field;
    const FLX_ParticleVariable* variable = FLX_ParticleVariables::find(id);
    if (!variable) return place(id, field) ? EV_ColumnList::Local::Input : EV_ColumnList::Local::Refused;
    FLX_VariableReader& reader = myOperator.variableReader();
    if (!reader.isPresent(*variable)) return EV_ColumnList::Local::Refused;
    if (variable->test != FLX_VarTest::Constant) return EV_ColumnList::Local::Input;
    myOperator.flushPasses(); // a number of points may be asked for
    number = double(reader.value(*variable, nullptr, 0));
    return EV_ColumnList::Local::Number;
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
    EV_EXPRESSION* expression = parm.component(component).expression();
    int result = -1;
    if (expression) {
        if (readsPendingBox(*expression)) return -1;
        result = myList.add(*expression, myOperator.scope(), double(t),
                            [this](int id, double& number) { return classify(id, number); });
        if (result < 0) return -1;
    }
    myEvaluates = true;
    if (expression) return addOutput({result, &parm.row(), isInt});
    return isInt ? addConstant(myOperator.evalInt(index, component, t))
                 : addConstant(myOperator.evalFloat(index, component, t));
}

int FLX_ParticleColumns::addOutput(const Output& output) {
    myOutputs.push_back(output);
    return int(myOutputs.size()) - 1;
}

// ---- how the variables are fetched

void FLX_ParticleColumns::planInputs() {
    const std::vector<int>& ids = myExpressions->inputs();
    for (size_t i = 0; i < ids.size(); ++i) {
        VM_Field field;
        field.to = myExpressions->input(i);
        if (place(ids[i], field))
            myFields.push_back(field);
        else
            myComputed.push_back({field.to, FLX_ParticleVariables::find(ids[i])});
    }
}

// An expression may have turned out to be a number.
void FLX_ParticleColumns::fillConstants() {
    myValues = std::make_unique_for_overwrite<Values[]>(myOutputs.size());
    for (size_t i = 0; i < myOutputs.size(); ++i) {
        Output& out = myOutputs[i];
        if (out.result >= 0) {
            if (!myExpressions->isNumber(out.result)) continue;
            const double number = myExpressions->number(out.result);
            out.row->numbers(&number, &out.fixedFloat, 1);
            out.fixedNaN = out.row->numbers(&number, &out.fixedInt, 1);
            out.result = -1;
        }
        if (out.isInt)
            std::fill_n(myValues[i].ints, SIZE, out.fixedInt);
        else
            std::fill_n(myValues[i].floats, SIZE, out.fixedFloat);
    }
}

// More bytes of records than the caches of a core usually hold. What streams from memory is best read in small pieces:
// the stream stops while operations run.
static constexpr size_t LARGE = size_t(1) << 20;
static constexpr size_t FEW_LANES = VM_LANES / 4;

void FLX_ParticleColumns::finish() {
    if (!evaluates()) return;
    myExpressions = myOperator.columns(myList);
    myList = EV_ColumnList(); // whose codes may go now
    planInputs();
    if (myNeedsBox) {
        myOperator.flushPasses();
        myOperator.variableReader().settleBox();
    }
    const GEO_PointList& points = myOperator.variableContext()->peekDetail()->points();
    myFromMemory = points.entries() * points.access().stride() > LARGE;
    myReader = myOperator.variableReader();
    fillConstants();
}

bool FLX_ParticleColumns::countsParticles() const {
    return std::any_of(myComputed.begin(), myComputed.end(), [](const Computed& computed) {
        return computed.variable->read == FLX_VarRead::Iteration || computed.variable->read == FLX_VarRead::PointNumber;
    });
}

bool FLX_ParticleColumns::reads(const FLX_Writing& writing) const {
    const auto isWritten = [&](const VM_Field& field) {
        return writing.touches({int(field.offset) - int(sizeof(GEO_Point)), int(sizeof(float))});
    };
    const auto mayBeWritten = [&](const Computed& computed) {
        const std::optional<FLX_Bytes> bytes = myReader.extent(*computed.variable);
        return !bytes || writing.touches(*bytes);
    };
    return std::any_of(myFields.begin(), myFields.end(), isWritten) ||
           std::any_of(myComputed.begin(), myComputed.end(), mayBeWritten);
}

// ---- a block

namespace {

bool ascend(const uint32_t* slots, size_t n) {
    uint32_t falls = 0;
    for (size_t k = 1; k < n; ++k) falls |= slots[k] > slots[k - 1] ? 0u : 1u;
    return falls == 0;
}

// How many slots there are before one that has been there already.
size_t countDistinct(const uint32_t* slots, size_t n) {
    if (ascend(slots, n)) return n;
    constexpr size_t SIZE = 4 * FLX_ParticleColumns::SIZE; // never nearly full
    static_assert(SIZE == 1024);
    uint16_t places[SIZE] = {}; // 1 + index
    for (size_t k = 0; k < n; ++k) {
        size_t h = slots[k] * 0x9e3779b1u >> 22;
        for (; places[h]; h = (h + 1) % SIZE)
            if (slots[places[h] - 1u] == slots[k]) return k;
        places[h] = uint16_t(k + 1);
    }
    return n;
}

} // namespace

FLX_Chunk FLX_ParticleColumns::evaluate(const FLX_Chunk& chunk) {
    FLX_Chunk part = chunk.first(std::min(chunk.count, SIZE));
    if (!part.inARow) part = part.first(countDistinct(part.slots, part.count));
    const size_t n = part.count;
    const char* pointers[SIZE];
    if (!part.inARow || !myComputed.empty())
        for (size_t k = 0; k < n; ++k) {
            pointers[k] = reinterpret_cast<const char*>(part.point(k));
            if (!part.inARow) __builtin_prefetch(pointers[k], 1);
        }
    myNaNs.clear();
    const size_t lanes = myFromMemory && !part.isNear ? FEW_LANES : VM_LANES;
    for (size_t at = 0; at < n; at += lanes) evaluateLanes(part, pointers, at, int(std::min(n - at, lanes)));
    return part;
}

void FLX_ParticleColumns::evaluateLanes(const FLX_Chunk& part, const char* const* pointers, size_t at, int n) {
    const char* const first = reinterpret_cast<const char*>(part.point(at));
    const VM_Records records{part.inARow ? nullptr : pointers + at, first, part.access.stride(), n,
                             myFromMemory && !part.isNear};
    VM_fetch(records, myFields.data(), myFields.size());
    for (const Computed& computed : myComputed) {
        if (myReader.fill(*computed.variable, records, computed.to)) continue;
        for (int k = 0; k < n; ++k)
            computed.to[k] =
                double(myReader.value(*computed.variable, reinterpret_cast<const GEO_Point*>(pointers[at + size_t(k)]),
                                      part.iteration + int(at) + k));
    }
    myExpressions->run(n);
    roundResults(at, n);
}

void FLX_ParticleColumns::roundResults(size_t at, int n) {
    for (size_t i = 0; i < myOutputs.size(); ++i) {
        const Output& out = myOutputs[i];
        if (out.fixedNaN && at == 0) myNaNs.push_back({out.row, std::bitset<SIZE>().set()});
        if (out.result < 0) continue;
        const double* column = myExpressions->column(out.result);
        const bool anyNaN = out.isInt ? out.row->numbers(column, myValues[i].ints + at, n)
                                      : out.row->numbers(column, myValues[i].floats + at, n);
        if (anyNaN) noteNaN(out, column, at, n);
    }
}

void FLX_ParticleColumns::noteNaN(const Output& out, const double* column, size_t at, int n) {
    auto& particles = myNaNs.emplace_back(out.row, 0).second;
    for (size_t k = 0; k < size_t(n); ++k) particles.set(at + k, column[k] != column[k]);
}

void FLX_ParticleColumns::warn(const PRM_Template& row) const { myOperator.warnNotANumber(row); }
