#pragma once
#include "host/vm/VM_ColumnRun.h"
#include "host/vm/VM_NumberTable.h"
#include <functional>
#include <vector>

class EV_EXPRESSION;
class EV_Scope;
struct EV_Code;

// Expressions of numbers that are evaluated together over lanes, the local variables having a value of their own in
// each. What they have in common is computed once. Each lane gets the bits that ev_EvaluateFloat gives.
//
//     add(...) for each, finish(), then for each block of lanes: fill input(i), run(lanes), read column(result)
class EV_Columns {
public:
    // What a local variable is here: an input, a number for all lanes, or something that only the scope can serve.
    enum class Local { Input, Number, Refused };
    using Locals = std::function<Local(int id, double& number)>;

    // The number of the result; or -1, and nothing changed, when the expression cannot be evaluated like this: it could
    // fail, calls functions of the application, handles strings, yields no number, or is very large. Globals have their
    // values at time t.
    int add(EV_EXPRESSION& expression, EV_Scope& scope, double t, const Locals& locals);
    void finish();

    // The ids of the local variables that are read, known after finish().
    const std::vector<int>& inputs() const { return myInputs; }

    size_t numInstructions() const { return myNumInstructions; }

    // The lanes of an input, to be filled before each run, which uses them up.
    double* input(size_t i) { return myRun.column(myInputRegisters[i]); }
    // Computes the first `lanes` lanes; at most VM_LANES.
    void run(int lanes) { myRun.run(lanes); }

    bool isNumber(int result) const { return myResults[size_t(result)] < 0; }
    double number(int result) const { return numberOf(myResults[size_t(result)]); }
    const double* column(int result) const { return myRun.column(myResultRegisters[size_t(result)]); }

private:
    using Value = int; // a node, or -1 - n: the number n

    struct Node {
        VM_Op op; // End: the input `id`
        Value src[4];
        int id;
        size_t target = 0; // jumps: the node they skip to
        bool isRead = false;
        bool isKnown = false; // has been computed wherever the code stands now
    };
    struct Region {   // code that a jump may skip
        size_t end;   // in the expression's code
        size_t jump;  // the node
        size_t known; // the first node that is not known behind it
    };

    double numberOf(Value value) const { return myNumbers[size_t(-1 - value)]; }
    Value numberValue(double number) { return -1 - myNumbers.add(number); }
    Value inputValue(int id);
    Value emit(VM_Op op, const Value* src);
    void enterRegion(const EV_Code& code, size_t at, Value condition, std::vector<Region>& regions);
    void leaveRegions(size_t at, std::vector<Region>& regions);
    Value lower(const EV_Code& code, const std::vector<Value>& variables);
    void markRead(Value value) {
        if (value >= 0) myNodes[size_t(value)].isRead = true;
    }
    bool skipsAnything(size_t jump) const;
    void findRead();
    void build(VM_Program& program);

    VM_NumberTable myNumbers;
    std::vector<Node> myNodes;
    std::vector<Value> myInputNodes;
    std::vector<Value> myResults;

    VM_ColumnRun myRun;
    size_t myNumInstructions = 0;
    std::vector<int> myInputs;
    std::vector<uint16_t> myInputRegisters;
    std::vector<uint16_t> myResultRegisters; // 0 for numbers
};
