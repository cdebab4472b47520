#pragma once
#include "host/vm/VM_Op.h"
#include <string_view>

// 1 or 0: the outcome of a comparison operation on two strings, byte by byte.
double EV_compareStrings(VM_Op op, std::string_view left, std::string_view right);
