#pragma once

#include <bitset>
#include <utility>
#include <vector>

#include "core/FLX_Pass.h"
#include "host/expr/EV_Borrowed.h"
#include "host/expr/EV_Columns.h"
#include "host/node/PRM_Template.h"
#include "vars/FLX_VariableReader.h"

class FLX_LocalVar;

/// Values of a parameter for the particles of a block: value k is at[k * step].
template <class T> struct FLX_Column {
    const T* at;
    size_t step; ///< 0: one value for all

    T operator()(size_t k) const { return at[k * step]; }
};

/// The parameters of an operator that vary from particle to particle by expressions which read only the particle's own
/// record and cannot fail: evaluated for up to 256 particles at once, with the bits of one evaluation after the other.
/// Holds all it needs; after finish() neither node nor context are asked for anything.
class FLX_ParticleColumns {
public:
    /// Not enabled, it takes no expression at all.
    explicit FLX_ParticleColumns(FLX_LocalVar& op, bool enabled = true)
        : myOperator(op)
        , myEnabled(enabled) {}

    /// The number of the component's column; or -1 when its expression has to be evaluated particle by particle.
    int add(int parm, int component, float t, bool isInt);
    /// To be called once, after every add.
    void finish();
    bool empty() const { return myOutputs.empty(); }
    /// Something reads the particle's number ($ITER, $PT).
    bool countsParticles() const;

private:
    friend class FLX_ColumnBlock;
    struct Output {
        const PRM_Template* row;
        int result; ///< -1: the value is known
        bool isInt;
        float fixedFloat = 0;
        int fixedInt = 0;
        bool fixedNaN = false; ///< a bound stands for a value that is no number
    };
    struct Window { ///< neighbouring fields, fetched together
        ptrdiff_t offset;
        int inputs[4]; ///< -1: not wanted
        VM_Field fields[4];
    };
    struct Computed {
        int input;
        const FLX_ParticleVariable* variable;
    };
    struct Placed {
        int input;
        ptrdiff_t offset;
        VM_Field field;
    };

    EV_Columns::Local classify(int id, double& number);
    bool readsPendingBox(EV_EXPRESSION& expression);
    bool place(int id, Placed& out) const;
    void planInputs();
    void addToWindow(const Placed& placed);
    void fetch(const VM_Records& records, const char* const* pointers, int iteration, double* memory);

    FLX_LocalVar& myOperator;
    bool myEnabled;
    EV_Columns myExpressions;
    bool myNeedsBox = false;
    std::vector<Output> myOutputs;
    std::vector<Window> myWindows;
    std::vector<Computed> myComputed;
    FLX_VariableReader myReader;
};

/// The values of the columns for the first particles of a chunk: for all of them, unless one stands in it twice; then
/// for those before the second time, because what happens at the first may change what is to be found there.
class FLX_ColumnBlock {
public:
    FLX_ColumnBlock(FLX_ParticleColumns& columns, const FLX_Chunk& chunk);

    /// How many particles the values are for.
    size_t count() const { return myCount; }
    /// Warns on the node of parameters that are no number, and held by a bound, for a particle that is not skipped.
    template <class Skips> void warnOfNaN(const Skips& isSkipped) const {
        for (const auto& [row, particles] : myNaNs)
            for (size_t k = 0; k < myCount; ++k)
                if (particles.test(k) && !isSkipped(k)) {
                    warn(*row);
                    break;
                }
    }
    FLX_Column<float> floats(int column) const {
        const FLX_ParticleColumns::Output& out = output(column);
        return out.result < 0 ? FLX_Column<float>{&out.fixedFloat, 0} : FLX_Column<float>{myFloats + at(column), 1};
    }
    FLX_Column<int> ints(int column) const {
        const FLX_ParticleColumns::Output& out = output(column);
        return out.result < 0 ? FLX_Column<int>{&out.fixedInt, 0} : FLX_Column<int>{myInts + at(column), 1};
    }

private:
    static size_t at(int column) { return size_t(column) * FLX_Chunk::SIZE; }
    const FLX_ParticleColumns::Output& output(int column) const { return myColumns.myOutputs[size_t(column)]; }
    void evaluate(const FLX_Chunk& chunk);
    void roundResults(const double* memory);
    void noteNaN(const FLX_ParticleColumns::Output& out, const double* column);
    void warn(const PRM_Template& row) const;

    FLX_ParticleColumns& myColumns;
    bool myIsRow; // slot numbers one after the other
    size_t myCount;
    EV_Borrowed<float> myFloatMemory;
    EV_Borrowed<int> myIntMemory;
    float* myFloats;
    int* myInts;
    std::vector<std::pair<const PRM_Template*, std::bitset<FLX_Chunk::SIZE>>> myNaNs; // hardly ever any
};
