#include "host/vm/VM_Builder.h"
#include "host/vm/VM_ColumnRun.h"
#include "host/vm/VM_RegisterFrame.h"
#include "support/SameBits.h"
#include <algorithm>
#include <cmath>
#include <deque>
#include <gtest/gtest.h>
#include <random>

namespace {

using Value = VM_Builder::Value;

// Gives `input` of the lane, and one more in every further register.
class Host : public VM_Host {
public:
    std::vector<double> input;
    const VM_Program* program = nullptr;
    size_t lane = 0;

    bool callSite(const VM_Instruction& call, double* registers) override {
        const VM_Site& at = program->sites[call.target];
        for (size_t w = 0; w < at.writes.size(); ++w) registers[at.writes[w]] = input[lane] + double(w);
        return true;
    }
};

// The results of all lanes, lane after lane.
std::vector<double> oneByOne(const VM_Program& program, Host& host) {
    std::vector<double> registers(size_t(program.numRegisters), 1e99), out;
    VM_loadConstants(program, registers.data());
    host.program = &program;
    for (host.lane = 0; host.lane < host.input.size(); ++host.lane) {
        EXPECT_TRUE(VM_run(program, registers.data(), host));
        out.push_back(registers[program.results[0]]);
    }
    return out;
}

// The same in one column; the first call to the host stands for the inputs.
std::vector<double> inColumns(const VM_Program& program, const Host& host) {
    VM_ColumnRun columns(program);
    const std::vector<uint16_t>& inputs = program.sites[0].writes;
    for (size_t w = 0; w < inputs.size(); ++w)
        for (size_t i = 0; i < host.input.size(); ++i) columns.column(inputs[w])[i] = host.input[i] + double(w);
    columns.run(int(host.input.size()));
    const double* result = columns.column(program.results[0]);
    return {result, result + host.input.size()};
}

// Not a multiple of any vector's width.
std::vector<double> awkwardInputs(unsigned seed) {
    std::mt19937_64 random(seed);
    std::vector<double> out{0.0, -0.0, 1, -1, 0.5, -0.5, 2.5, 1e-310, 1e300, -1e300, INFINITY, -INFINITY, NAN, 1e17};
    while (out.size() < size_t(VM_LANES) - 3)
        out.push_back((double(random() >> 11) * 0x1p-53 - 0.5) * std::ldexp(1.0, int(random() % 60) - 40));
    return out;
}

TEST(Machine, everyOperationIsTheSameInColumns) {
    for (int number = int(VM_Op::Neg); number < int(VM_Op::NumOps); ++number) {
        const VM_Op op = VM_Op(number);
        VM_Builder builder;
        std::vector<Value> x;
        builder.emitHost({}, 4, x);
        const Value operands[] = {x[0], builder.constant(0.75), builder.constant(3), builder.constant(2)};
        const Value swapped[] = {builder.constant(0.75), x[0], x[1], x[2]};
        for (unsigned seed = 0; seed < 20; ++seed) {
            const Value* v = seed % 2 ? operands : swapped;
            VM_Builder one = builder;
            VM_Program program;
            ASSERT_TRUE(one.finish({one.emit(op, {v[0], v[1], v[2], v[3]})}, program));
            Host host;
            host.input = awkwardInputs(seed);
            const std::vector<double> rows = oneByOne(program, host), columns = inColumns(program, host);
            for (size_t i = 0; i < rows.size(); ++i)
                EXPECT_TRUE(sameBits(rows[i], columns[i]))
                    << number << " of " << host.input[i] << ": " << rows[i] << " and " << columns[i];
        }
    }
}

TEST(Builder, registersAreReusedAndConstantsShared) {
    VM_Builder b;
    std::vector<Value> x;
    b.emitHost({}, 1, x);
    Value sum = x[0];
    for (int i = 0; i < 1000; ++i) sum = b.emit(VM_Op::Add, {sum, b.constant(double(i % 3))});
    b.constant(77); // in use nowhere
    VM_Program program;
    ASSERT_TRUE(b.finish({sum}, program));
    EXPECT_EQ(program.constants.size(), 3u);
    EXPECT_EQ(program.numRegisters, 4);
    EXPECT_EQ(b.constant(0.0), b.constant(0.0));
    EXPECT_NE(b.constant(0.0), b.constant(-0.0));
}

TEST(Builder, valuesThatLiveTogetherHaveTheirOwnRegisters) {
    constexpr int COUNT = 300;
    VM_Builder b;
    std::vector<Value> x, squares;
    b.emitHost({}, 1, x);
    for (int i = 0; i < COUNT; ++i) squares.push_back(b.emit(VM_Op::Mul, {x[0], b.constant(double(i))}));
    Value sum = b.constant(0);
    for (int i = COUNT; i-- > 0;)
        sum = b.emit(VM_Op::Add, {sum, b.emit(VM_Op::Mul, {squares[size_t(i)], squares[size_t(i)]})});
    VM_Program program;
    ASSERT_TRUE(b.finish({sum}, program));
    Host host;
    host.input = {2};
    EXPECT_EQ(oneByOne(program, host)[0], 4.0 * (COUNT - 1) * COUNT * (2 * COUNT - 1) / 6);
    EXPECT_LE(program.numRegisters, 2 * COUNT + 4);
    while (squares.size() < 70000) squares.push_back(b.emit(VM_Op::Neg, {x[0]}));
    EXPECT_FALSE(b.finish(squares, program)) << "more registers than there are";
}

TEST(RegisterFrame, framesDoNotOverlapHoweverDeepOrLarge) {
    constexpr size_t sizes[] = {10, 3000, 3000, 100000, 7};
    for (int round = 0; round < 3; ++round) {
        std::deque<VM_RegisterFrame> frames;
        for (const size_t size : sizes) {
            frames.emplace_back(size);
            std::fill_n(frames.back().data(), size, double(frames.size()));
        }
        for (size_t i = 0; i < frames.size(); ++i)
            EXPECT_EQ(size_t(std::count(frames[i].data(), frames[i].data() + sizes[i], double(i + 1))), sizes[i]);
        while (!frames.empty()) frames.pop_back();
    }
}

} // namespace
