#pragma once
#include "host/vm/VM_NumberTable.h"
#include "host/vm/VM_Program.h"
#include <cstddef>
#include <initializer_list>
#include <vector>

// Writes a program. Values are numbered freely, each written once (virtual registers); finish() packs those that live
// at the same time into as few registers as possible.
class VM_Builder {
public:
    using Value = int; // constants negative, computed values from 0

    Value constant(double number); // equal bits share one
    double constantValue(Value value) const { return myConstants[size_t(-1 - value)]; }
    Value emit(VM_Op op, std::initializer_list<Value> operands);

    // A jump, to be aimed later at the place that follows the code written by then.
    size_t emitJump(VM_Op op, Value condition);
    void aimHere(size_t jump) { myCode[jump].target = uint32_t(myCode.size()); }

    // A call to the host; its results are new values. Returns the site's number.
    unsigned emitHost(const std::vector<Value>& reads, int results, std::vector<Value>& written);

    // What was written since a mark can be taken back, as long as no value of it is used later.
    struct Mark {
        size_t code, sites;
        int values;
    };
    Mark mark() const { return {myCode.size(), mySites.size(), myNumValues}; }
    void rewind(const Mark& mark);

    size_t size() const { return myCode.size(); }

    // Packs into `out`. False when more registers live at once than an instruction can name (65 536).
    bool finish(const std::vector<Value>& results, VM_Program& out) const;

private:
    struct Raw {
        VM_Op op = VM_Op::End;
        Value dst = -1;
        Value src[4] = {0, 0, 0, 0};
        uint32_t target = 0;
    };
    struct RawSite {
        size_t firstRead; // in mySiteReads
        size_t numReads;
        Value firstWrite; // the others follow
        int numWrites;
    };
    friend class VM_Packer;

    VM_NumberTable myConstants;
    std::vector<Raw> myCode;
    std::vector<RawSite> mySites;
    std::vector<Value> mySiteReads;
    int myNumValues = 0;
};
