#include "host/vm/VM_Packer.h"

static constexpr int MAX_REGISTERS = 65536;
static constexpr size_t NEVER = size_t(-1), FREED = size_t(-2);

VM_Packer::VM_Packer(const VM_Builder& builder)
    : myBuilder(builder)
    , myLastRead(size_t(builder.myNumValues), NEVER)
    , myConstantUsed(builder.myConstants.size(), false)
    , myConstantNumbers(builder.myConstants.size(), -1)
    , myRegisters(size_t(builder.myNumValues), -1) {}

template <class F> void VM_Packer::eachRead(const VM_Builder::Raw& raw, F f) const {
    if (raw.op == VM_Op::Host) {
        const VM_Builder::RawSite& site = myBuilder.mySites[raw.target];
        for (size_t i = 0; i < site.numReads; ++i) f(myBuilder.mySiteReads[site.firstRead + i]);
    } else {
        for (int i = 0; i < VM_arity(raw.op); ++i) f(raw.src[i]);
    }
}

template <class F> void VM_Packer::eachWrite(const VM_Builder::Raw& raw, F f) const {
    if (raw.op == VM_Op::Host) {
        const VM_Builder::RawSite& site = myBuilder.mySites[raw.target];
        for (int i = 0; i < site.numWrites; ++i) f(site.firstWrite + i);
    } else if (raw.dst >= 0) {
        f(raw.dst);
    }
}

void VM_Packer::findLastReads(const std::vector<Value>& results) {
    const auto read = [&](Value value, size_t at) {
        if (value < 0)
            myConstantUsed[size_t(-1 - value)] = true;
        else
            myLastRead[size_t(value)] = at;
    };
    for (size_t at = 0; at < myBuilder.myCode.size(); ++at)
        eachRead(myBuilder.myCode[at], [&](Value value) { read(value, at); });
    for (Value value : results) read(value, myBuilder.myCode.size());
}

void VM_Packer::numberConstants(VM_Program& out) {
    for (size_t i = 0; i < myConstantUsed.size(); ++i)
        if (myConstantUsed[i]) {
            myConstantNumbers[i] = int(out.constants.size());
            out.constants.push_back(myBuilder.myConstants[i]);
        }
    myNumRegisters = int(out.constants.size());
}

uint16_t VM_Packer::registerOf(Value value) const {
    return uint16_t(value < 0 ? myConstantNumbers[size_t(-1 - value)] : myRegisters[size_t(value)]);
}

void VM_Packer::take(Value value) {
    int& number = myRegisters[size_t(value)];
    if (myFree.empty()) {
        number = myNumRegisters++;
    } else {
        number = myFree.back();
        myFree.pop_back();
    }
}

void VM_Packer::freeOperands(const VM_Builder::Raw& raw, size_t at) {
    eachRead(raw, [&](Value value) {
        if (value < 0 || myLastRead[size_t(value)] != at) return;
        myLastRead[size_t(value)] = FREED; // an instruction may read a value twice
        myFree.push_back(myRegisters[size_t(value)]);
    });
}

void VM_Packer::packHost(size_t at, VM_Program& out) {
    const VM_Builder::Raw& raw = myBuilder.myCode[at];
    VM_Site& site = out.sites[raw.target];
    site.reads.reserve(myBuilder.mySites[raw.target].numReads);
    site.writes.reserve(size_t(myBuilder.mySites[raw.target].numWrites));
    eachRead(raw, [&](Value value) { site.reads.push_back(registerOf(value)); });
    eachWrite(raw, [&](Value value) { take(value); }); // before the operands are freed: a host may write early
    eachWrite(raw, [&](Value value) { site.writes.push_back(registerOf(value)); });
    freeOperands(raw, at);
    const uint16_t first = site.writes.empty() ? uint16_t(0) : site.writes[0];
    out.code.push_back({VM_Op::Host, first, {}, raw.target});
}

void VM_Packer::packOperation(size_t at, VM_Program& out) {
    const VM_Builder::Raw& raw = myBuilder.myCode[at];
    VM_Instruction instruction{raw.op, 0, {}, raw.target};
    for (int i = 0; i < VM_arity(raw.op); ++i) instruction.src[i] = registerOf(raw.src[i]);
    freeOperands(raw, at); // lane by lane a result may lie on an operand
    if (raw.dst >= 0) {
        take(raw.dst);
        instruction.dst = registerOf(raw.dst);
    }
    out.code.push_back(instruction);
}

bool VM_Packer::pack(const std::vector<Value>& results, VM_Program& out) {
    out = VM_Program();
    out.sites.resize(myBuilder.mySites.size());
    out.code.reserve(myBuilder.myCode.size() + 1);
    out.constants.reserve(myBuilder.myConstants.size());
    out.results.reserve(results.size());
    myFree.reserve(myRegisters.size());
    findLastReads(results);
    numberConstants(out);
    for (size_t at = 0; at < myBuilder.myCode.size(); ++at) {
        const VM_Builder::Raw& raw = myBuilder.myCode[at];
        raw.op == VM_Op::Host ? packHost(at, out) : packOperation(at, out);
        eachWrite(raw, [&](Value value) {
            if (myLastRead[size_t(value)] == NEVER) myFree.push_back(myRegisters[size_t(value)]);
        });
        if (myNumRegisters > MAX_REGISTERS) return false;
    }
    out.code.emplace_back();
    for (Value value : results) out.results.push_back(registerOf(value));
    out.numRegisters = myNumRegisters;
    return myNumRegisters <= MAX_REGISTERS;
}
