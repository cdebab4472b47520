#pragma once

#include <bitset>
#include <memory>
#include <utility>
#include <vector>

#include "core/FLX_Pass.h"
#include "host/expr/EV_Columns.h"
#include "host/node/PRM_Template.h"
#include "vars/FLX_VariableReader.h"

class FLX_LocalVar;

/// The parameters of an operator that vary from particle to particle by expressions which read only the particle's own
/// record and cannot fail: evaluated for up to SIZE particles at once, with the bits of one evaluation after the other.
/// Constants may stand beside them, so that a loop reads all its values in the same way. Holds all it needs; after
/// finish() neither node nor context are asked for anything, and all that the node hears of is a NaN (warnOfNaN).
class FLX_ParticleColumns {
public:
    static constexpr size_t SIZE = FLX_Chunk::SIZE;

    /// Not enabled, it takes no expression at all.
    explicit FLX_ParticleColumns(FLX_LocalVar& op, bool enabled = true)
        : myOperator(op)
        , myEnabled(enabled) {}

    /// The number of the component's column; or -1 when its expression has to be evaluated particle by particle.
    int add(int parm, int component, float t, bool isInt);
    /// The number of a column that holds the value for every particle.
    int addConstant(float value) { return addOutput({-1, nullptr, false, value, 0}); }
    int addConstant(int value) { return addOutput({-1, nullptr, true, 0, value}); }
    /// To be called once, after every add.
    void finish();
    /// Whether there is a column that `add` made.
    bool evaluates() const { return myEvaluates; }
    /// Something reads the particle's number ($ITER, $PT).
    bool countsParticles() const;

    /// Something that the writing writes, as far as is known.
    bool reads(const FLX_Writing& writing) const;

    /// Evaluates for the first particles of a chunk and returns these: for SIZE of them, unless one stands there twice;
    /// then for those before the second time, because what happens at the first may change what is to be found there.
    FLX_Chunk evaluate(const FLX_Chunk& chunk);
    /// Warns on the node of parameters that were no number, and held by a bound, for a particle that is not skipped.
    template <class Skips> void warnOfNaN(size_t count, const Skips& isSkipped) const {
        for (const auto& [row, particles] : myNaNs)
            for (size_t k = 0; k < count; ++k)
                if (particles.test(k) && !isSkipped(k)) {
                    warn(*row);
                    break;
                }
    }
    /// The values of a column for the particles that were evaluated last; the place is settled by finish().
    const float* floats(int column) const { return myValues[size_t(column)].floats; }
    const int* ints(int column) const { return myValues[size_t(column)].ints; }

private:
    struct Output {
        int result; ///< -1: the value is known
        const PRM_Template* row;
        bool isInt;
        float fixedFloat = 0;
        int fixedInt = 0;
        bool fixedNaN = false; ///< a bound stands for a value that is no number
    };
    union Values {
        float floats[SIZE];
        int ints[SIZE];
    };
    struct Computed {
        double* to;
        const FLX_ParticleVariable* variable;
    };
    EV_ColumnList::Local classify(int id, double& number);
    bool readsPendingBox(EV_EXPRESSION& expression);
    bool place(int id, VM_Field& field) const;
    void planInputs();
    int addOutput(const Output& output);
    void fillConstants();
    void evaluateLanes(const FLX_Chunk& part, const char* const* pointers, size_t at, int n);
    void roundResults(size_t at, int n);
    void noteNaN(const Output& output, const double* column, size_t at, int n);
    void warn(const PRM_Template& row) const;

    FLX_LocalVar& myOperator;
    bool myEnabled;
    bool myEvaluates = false;
    EV_ColumnList myList; ///< until finish()
    std::shared_ptr<EV_Columns> myExpressions;
    bool myNeedsBox = false;
    bool myFromMemory = false; ///< the records do not fit into the caches
    std::vector<Output> myOutputs;
    std::vector<VM_Field> myFields;
    std::vector<Computed> myComputed;
    FLX_VariableReader myReader;
    std::unique_ptr<Values[]> myValues;                                    ///< one per output
    std::vector<std::pair<const PRM_Template*, std::bitset<SIZE>>> myNaNs; ///< of the last block; hardly ever any
};
