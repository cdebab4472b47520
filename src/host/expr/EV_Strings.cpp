#include "host/expr/EV_Strings.h"
#include "host/vm/VM_Machine.h"

double EV_compareStrings(VM_Op op, std::string_view left, std::string_view right) {
    return VM_apply(op, double(left.compare(right)), 0);
}
