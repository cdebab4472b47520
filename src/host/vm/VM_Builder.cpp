#include "host/vm/VM_Builder.h"
#include "host/vm/VM_Packer.h"
#include <algorithm>

VM_Builder::Value VM_Builder::constant(double number) { return -1 - myConstants.add(number); }

VM_Builder::Value VM_Builder::emit(VM_Op op, std::initializer_list<Value> operands) {
    Raw raw{op, myNumValues++, {}, 0};
    std::copy(operands.begin(), operands.end(), raw.src);
    myCode.push_back(raw);
    return raw.dst;
}

size_t VM_Builder::emitJump(VM_Op op, Value condition) {
    myCode.push_back({op, -1, {condition, 0, 0, 0}, 0});
    return myCode.size() - 1;
}

unsigned VM_Builder::emitHost(const std::vector<Value>& reads, int results, std::vector<Value>& written) {
    const unsigned site = unsigned(mySites.size());
    mySites.push_back({mySiteReads.size(), reads.size(), myNumValues, results});
    mySiteReads.insert(mySiteReads.end(), reads.begin(), reads.end());
    myCode.push_back({VM_Op::Host, -1, {}, site});
    written.clear();
    for (int i = 0; i < results; ++i) written.push_back(myNumValues++);
    return site;
}

void VM_Builder::rewind(const Mark& mark) {
    myCode.resize(mark.code);
    if (mark.sites < mySites.size()) mySiteReads.resize(mySites[mark.sites].firstRead);
    mySites.resize(mark.sites);
    myNumValues = mark.values;
}

bool VM_Builder::finish(const std::vector<Value>& results, VM_Program& out) const {
    return VM_Packer(*this).pack(results, out);
}
