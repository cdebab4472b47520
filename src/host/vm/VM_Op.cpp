#include "host/vm/VM_Op.h"

int VM_arity(VM_Op op) {
    if (op == VM_Op::End || op == VM_Op::Host) return 0;
    if (op < VM_Op::Add) return 1;
    if (op < VM_Op::Select) return 2;
    return op < VM_Op::Turb ? 3 : 4;
}
