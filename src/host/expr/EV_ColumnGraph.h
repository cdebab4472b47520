#pragma once
#include "host/expr/EV_ColumnList.h"
#include "host/vm/VM_NumberTable.h"
#include "host/vm/VM_Op.h"
#include "host/vm/VM_Program.h"

// The operations of a list of expressions: each once, numbers folded, jumps only over what is expensive, products
// computed by the sums that they are for.
class EV_ColumnGraph {
public:
    using Value = int; // a node, or -1 - n: the number n

    explicit EV_ColumnGraph(const EV_ColumnList& list);

    // One for each expression of the list.
    const std::vector<Value>& results() const { return myResults; }
    double numberOf(Value value) const { return myNumbers[size_t(-1 - value)]; }

    // The ids of the local variables that are read, and a program for them. Its first instruction asks the host for
    // their values, in that order; its results are those results() that are no numbers.
    void build(std::vector<int>& inputs, VM_Program& program);

private:
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

    Value numberValue(double number) { return -1 - myNumbers.add(number); }
    Value inputValue(int id);
    Value emit(VM_Op op, const Value* src);
    void enterRegion(const EV_Code& code, size_t at, Value condition, std::vector<Region>& regions);
    void leaveRegions(size_t at, std::vector<Region>& regions);
    Value lower(const EV_Code& code, const Value* variables);
    void markRead(Value value) {
        if (value >= 0) myNodes[size_t(value)].isRead = true;
    }
    bool skipsAnything(size_t jump) const;
    void findRead();
    void fuse();

    VM_NumberTable myNumbers;
    std::vector<Node> myNodes;
    std::vector<Value> myInputNodes;
    std::vector<Value> myResults;
};
