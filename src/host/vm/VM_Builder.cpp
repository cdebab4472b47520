#include "host/vm/VM_Builder.h"
#include "host/vm/VM_Packer.h"
#include <algorithm>
#include <bit>

VM_Builder::Value VM_Builder::constant(double number) {
    auto [at, isNew] = myConstantIndex.try_emplace(std::bit_cast<uint64_t>(number), int(myConstants.size()));
    if (isNew) myConstants.push_back(number);
    return -1 - at->second;
}

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
    written.clear();
    for (int i = 0; i < results; ++i) written.push_back(myNumValues++);
    const unsigned site = unsigned(mySites.size());
    myCode.push_back({VM_Op::Host, -1, {}, site});
    mySites.push_back({reads, written});
    return site;
}

void VM_Builder::rewind(const Mark& mark) {
    myCode.resize(mark.code);
    mySites.resize(mark.sites);
    myNumValues = mark.values;
}

bool VM_Builder::finish(const std::vector<Value>& results, VM_Program& out) const {
    return VM_Packer(*this).pack(results, out);
}
