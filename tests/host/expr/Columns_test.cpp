// Expressions over columns: the bits of one lane after the other, with every set of instructions.
#include "ExpressionWriter.h"
#include "host/expr/EV_Columns.h"
#include "host/expr/EV_Expression.h"
#include "host/expr/EV_Function.h"
#include "host/vm/VM_Kernels.h"
#include "support/SameBits.h"
#include <array>
#include <cmath>
#include <cstdlib>
#include <deque>
#include <gtest/gtest.h>
#include <random>

namespace {

constexpr size_t LANES = 1000;
constexpr std::array<const char*, 6> theNames{"VX", "TY", "AGE", "ID", "MASS", "ODD"};

bool notPure(EV_CallContext&, const EV_Value* args, int, EV_Value& result) {
    result = args[0];
    return true;
}
constexpr EV_Type oneNumber[] = {EV_FLOAT};
const EV_FUNCTION ask{EV_NOFAIL, "columnsask", 1, EV_FLOAT, oneNumber, &notPure, "its argument", "x"};

// Locals 0 to 5 have a value per lane; 6, $STEP, has one for all; 7, $GONE, is only known to the scope.
class Lanes final : public EV_Scope {
public:
    std::vector<std::array<float, theNames.size()>> values;
    size_t lane = 0;

    bool findVariable(std::string_view name, EV_Variable& out) const override {
        for (size_t i = 0; i < theNames.size(); ++i)
            if (name == theNames[i]) return out = {EV_Variable::Local, int(i), 0}, true;
        if (name == "STEP") return out = {EV_Variable::Local, 6, 0}, true;
        if (name == "GONE") return out = {EV_Variable::Local, 7, 0}, true;
        return name == "T" && (out = {EV_Variable::Global, 0, 0}, true);
    }
    unsigned variableSerial() const override { return 1; }
    float localValue(int id, int) override { return id < 6 ? values[lane][size_t(id)] : 0.125f; }
    double globalValue(int, double t) override { return t; }
    void variableNames(std::vector<std::string>&) const override {}
    OP_Parameters* node() override { return nullptr; }

    static EV_ColumnList::Local meaning(int id, double& number) {
        if (id == 6) number = 0.125;
        return id < 6    ? EV_ColumnList::Local::Input
               : id == 6 ? EV_ColumnList::Local::Number
                         : EV_ColumnList::Local::Refused;
    }
};

Lanes randomLanes() {
    std::mt19937 random(11);
    const auto uniform = [&](float low, float high) { return low + float(random() >> 8) * 0x1p-24f * (high - low); };
    const float odd[] = {0, -0.0f, 1, -1, 0.5f, 1e-40f, 3e38f, -3e38f, INFINITY, -INFINITY, NAN, 16777216, 1e-5f};
    Lanes out;
    for (size_t i = 0; i < LANES; ++i)
        out.values.push_back({uniform(-3, 3), uniform(-100, 5), uniform(0, 4), float(i), uniform(0.1f, 9),
                              odd[random() % std::size(odd)]});
    return out;
}

// A list that holds its expressions.
struct List : EV_ColumnList {
    List(const std::vector<std::string>& texts, Lanes& lanes, double t) {
        for (const std::string& text : texts) {
            numbers.push_back(add(expressions.emplace_back(text), lanes, t, Lanes::meaning));
            EXPECT_GE(numbers.back(), 0) << text;
        }
    }
    std::deque<EV_EXPRESSION> expressions;
    std::vector<int> numbers;
};

// The results of several expressions in columns, one after the other per expression; with `n` lanes in the last block.
std::vector<std::vector<double>> inColumns(const std::vector<std::string>& texts, Lanes& lanes, double t) {
    const List list(texts, lanes, t);
    EV_Columns columns(list);
    const std::vector<int>& numbers = list.numbers;
    std::vector<std::vector<double>> out(texts.size());
    for (size_t first = 0; first < LANES; first += VM_LANES) {
        const size_t n = std::min(size_t(VM_LANES), LANES - first);
        for (size_t i = 0; i < columns.inputs().size(); ++i)
            for (size_t k = 0; k < n; ++k)
                columns.input(i)[k] = double(lanes.values[first + k][size_t(columns.inputs()[i])]);
        columns.run(int(n));
        for (size_t e = 0; e < texts.size(); ++e)
            for (size_t k = 0; k < n; ++k)
                out[e].push_back(columns.isNumber(numbers[e]) ? columns.number(numbers[e])
                                                              : columns.column(numbers[e])[k]);
    }
    return out;
}

std::vector<double> oneByOne(const std::string& text, Lanes& lanes, double t) {
    EV_EXPRESSION expression(text);
    std::vector<double> out;
    for (lanes.lane = 0; lanes.lane < LANES; ++lanes.lane) out.push_back(ev_EvaluateFloat(expression, lanes, t, 0));
    EXPECT_EQ(EV_errNo(0), 0) << text << EV_errText(0);
    return out;
}

std::vector<VM_Path> paths() {
    const VM_Path before = VM_path();
    std::vector<VM_Path> out;
    for (const VM_Path path : {VM_Path::Baseline, VM_Path::Avx2, VM_Path::Avx512})
        if (VM_setPath(path)) out.push_back(path);
    VM_setPath(before);
    return out;
}

int compare(const std::vector<std::string>& texts, Lanes& lanes, uint64_t& hash) {
    std::vector<std::vector<double>> expected;
    for (const std::string& text : texts) expected.push_back(oneByOne(text, lanes, 1.5));
    const VM_Path before = VM_path();
    int wrong = 0;
    for (const VM_Path path : paths()) {
        VM_setPath(path);
        const std::vector<std::vector<double>> found = inColumns(texts, lanes, 1.5);
        for (size_t e = 0; e < texts.size(); ++e)
            for (size_t k = 0; k < LANES; ++k) {
                if (bitsOf(found[e][k]) == bitsOf(expected[e][k])) continue;
                ADD_FAILURE() << "path " << int(path) << ", lane " << k << ": " << found[e][k] << " is not "
                              << expected[e][k] << "\n"
                              << texts[e];
                if (++wrong > 10) return wrong;
                break;
            }
    }
    VM_setPath(before);
    for (const std::vector<double>& values : expected)
        for (const double value : values) hash = (hash ^ bitsOf(value)) * 0x100000001b3u;
    return wrong;
}

} // namespace

// FLX_COLUMN_EXPRESSIONS asks for more of them. The hashes are the same whatever the compiler.
TEST(Columns, GiveTheBitsOfOneLaneOnEveryPath) {
    const char* wanted = std::getenv("FLX_COLUMN_EXPRESSIONS");
    const unsigned count = wanted ? unsigned(std::atoi(wanted)) : 300;
    const std::map<unsigned, uint64_t> known{{300, 0x0cb152292ff5703eu}, {100000, 0xfc337c017bb7a13au}};
    Lanes lanes = randomLanes();
    std::map<std::string, float> variables{{"T", 0}, {"STEP", 0}};
    for (const char* name : theNames) variables[name] = 0;
    uint64_t hash = 0xcbf29ce484222325u;
    // Three at a time share what they have in common.
    for (unsigned seed = 0; seed < count; seed += 3) {
        std::vector<std::string> texts;
        for (unsigned i = 0; i < 3; ++i)
            texts.push_back(ExpressionWriter(seed + i, variables, true).expression(int(1 + (seed + i) % 4)).text);
        if (compare(texts, lanes, hash) > 10) return;
    }
    const auto row = known.find(count);
    EXPECT_TRUE(row == known.end() || row->second == hash) << std::hex << hash;
    std::printf("%u expressions, hash %016llx\n", count, static_cast<unsigned long long>(hash));
}

TEST(Columns, ComputeOnceWhatExpressionsShare) {
    Lanes lanes = randomLanes();
    const auto size = [&](const std::vector<std::string>& texts) {
        return EV_Columns(List(texts, lanes, 0)).numInstructions();
    };
    EXPECT_EQ(size({"sin($VX * 2) + 1"}), 3u);
    EXPECT_EQ(size({"sin($VX * 2) + 1", "sin($VX * 2) + 1"}), 3u);
    EXPECT_EQ(size({"sin($VX * 2) + 1", "sin($VX * 2) + 3", "$VX * 2"}), 4u);
    EXPECT_EQ(size({"$T * 2 + $STEP", "3"}), 0u) << "numbers";
    EXPECT_EQ(size({"$VX * ($T > 1 ? 2 : sin($AGE))"}), 2u) << "the time settles it: sin($AGE) * $VX";
    EXPECT_EQ(size({"$VX * $TY + $AGE * 3 - $VX * 2"}), 3u) << "sums compute products";
    EXPECT_EQ(size({"$VX * $TY + 1", "$VX * $TY"}), 2u) << "but not one that is read elsewhere";
    EXPECT_EQ(size({"$AGE > 1 && $TY < 0"}), 2u) << "cheap sides are not jumped over, and takes over a comparison";
    EXPECT_EQ(size({"$AGE > 1 ? noise($VX, 1, 2) : 0"}), 4u);
}

TEST(Columns, FusedOperationsGiveTheBitsOfTheirParts) {
    Lanes lanes = randomLanes();
    uint64_t hash = 0;
    std::vector<std::string> texts = {"$ODD * $VX + $TY", "$TY + $ODD * $VX", "$ODD * $VX - $TY", "$TY - $ODD * $VX"};
    for (const std::string comparison : {" < ", " <= ", " > ", " >= ", " == ", " != "})
        for (const std::string sides : {"$ODD|floor($VX)", "$ODD|1", "0|$ODD", "floor($VX)|-1"}) {
            std::string test = sides;
            test.replace(test.find('|'), 1, comparison);
            texts.insert(texts.end(), {test + " && $VX", "$ODD && " + test, test + " && $AGE > 2"});
        }
    for (const std::string& text : texts) EXPECT_EQ(compare({text}, lanes, hash), 0); // what is shared is not fused
}

TEST(Columns, WhatIsBehindAConditionIsNotKnownAfterIt) {
    Lanes lanes = randomLanes();
    uint64_t hash = 0;
    // In the first blocks no lane takes the first side, in later ones every lane does.
    EXPECT_EQ(compare({"$ID > 512 ? sin($VX) : 1", "sin($VX) + ($ID < 300 ? exp($TY) : exp($TY) * 2)",
                       "$ID > 255 ? ($ID > 511 ? tan($VX) : log($AGE)) : tan($VX) + log($AGE)", "tan($VX)"},
                      lanes, hash),
              0);
}

TEST(Columns, RefuseWhatOnlyTheScopeCanServe) {
    Lanes lanes = randomLanes();
    ev_AddFunction(&ask);
    for (const char* text : {"$GONE", "$VX + $GONE", "columnsask($VX)", "vector3($VX, 1, 2)", "'a'", "$VX +", "$NOBODY",
                             "vector3(1, 2, $VX)[$ID]", "strlen('a' + $VX)"}) {
        EV_ColumnList columns;
        EV_EXPRESSION expression(text);
        EXPECT_EQ(columns.add(expression, lanes, 0, Lanes::meaning), -1) << text;
    }
    std::string large = "$VX";
    for (int i = 0; i < 2000; ++i) large += "+$TY*" + std::to_string(i);
    EV_ColumnList columns;
    EV_EXPRESSION expression(large), small("$VX");
    EXPECT_EQ(columns.add(expression, lanes, 0, Lanes::meaning), -1);
    EXPECT_EQ(columns.add(small, lanes, 0, Lanes::meaning), 0) << "and nothing is left of it";
    EXPECT_EQ(inColumns({"$VX"}, lanes, 0)[0][7], double(lanes.values[7][0]));
}

TEST(Columns, AreKeptForTheSameListOnly) {
    Lanes lanes = randomLanes();
    EV_ColumnShelf shelf;
    List list({"$VX * 2", "$TY + $T"}, lanes, 1);
    const EV_Columns* first = shelf.take(list).get();
    EXPECT_EQ(shelf.take(list).get(), first);
    const auto holder = shelf.take(list);
    EXPECT_NE(shelf.take(list).get(), first) << "they are in use";
    // The first and the second where $TY is 10, and $VX too or, when it is known, 4.
    const auto valuesAt = [&](double t, bool known = false) {
        EV_ColumnList later;
        for (EV_EXPRESSION& expression : list.expressions)
            later.add(expression, lanes, t, [known](int id, double& number) {
                number = 4;
                return known && id == 0 ? EV_ColumnList::Local::Number : EV_ColumnList::Local::Input;
            });
        const auto columns = shelf.take(later);
        for (size_t i = 0; i < columns->inputs().size(); ++i) *columns->input(i) = 10;
        columns->run(1);
        return std::pair(columns->isNumber(0) ? columns->number(0) : *columns->column(0), *columns->column(1));
    };
    for (int round = 0; round < 2; ++round)
        for (const double t : {1.0, 2.0, -0.0, 0.0, 5.0, 6.0}) EXPECT_EQ(valuesAt(t), std::pair(20.0, 10 + t));
    list.expressions[0].change("$VX * 3");
    EXPECT_EQ(valuesAt(1), std::pair(30.0, 11.0));
    EXPECT_EQ(valuesAt(1, true), std::pair(12.0, 11.0)) << "an input became a number";
}
