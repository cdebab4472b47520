#pragma once
#include "host/expr/EV_ColumnList.h"
#include "host/vm/VM_ColumnRun.h"
#include <memory>

// The expressions of a list, evaluated together over lanes. What they have in common is computed once. Each lane gets
// the bits that ev_EvaluateFloat gives. Holds all it needs, and serves every list of the same key.
//
//     for each block of lanes: fill input(i) for each of inputs(), run(lanes), read column(result)
class EV_Columns {
public:
    explicit EV_Columns(const EV_ColumnList& list);
    bool isFor(const EV_ColumnList& list) const { return list.key() == myKey; }

    // The ids of the local variables that are read.
    const std::vector<int>& inputs() const { return myInputs; }

    size_t numInstructions() const { return myNumInstructions; }

    // The lanes of an input, to be filled before each run, which uses them up.
    double* input(size_t i) { return myRun.column(myInputRegisters[i]); }
    // Computes the first `lanes` lanes; at most VM_LANES.
    void run(int lanes) { myRun.run(lanes); }

    bool isNumber(int result) const { return myResults[size_t(result)].isNumber; }
    double number(int result) const { return myResults[size_t(result)].number; }
    const double* column(int result) const { return myRun.column(myResults[size_t(result)].column); }

private:
    struct Result {
        bool isNumber;
        double number;
        uint16_t column;
    };

    EV_ColumnList::Key myKey;
    VM_ColumnRun myRun;
    size_t myNumInstructions = 0;
    std::vector<int> myInputs;
    std::vector<uint16_t> myInputRegisters;
    std::vector<Result> myResults;
};

// Columns kept from cook to cook, so that the same list costs a comparison. One thread at a time.
class EV_ColumnShelf {
public:
    // Columns for the list that nobody else uses as long as they are held.
    std::shared_ptr<EV_Columns> take(const EV_ColumnList& list);

private:
    static constexpr size_t MOST = 4; // more than an operator has passes that wait at a time, as a rule
    std::vector<std::shared_ptr<EV_Columns>> myKept;
};
