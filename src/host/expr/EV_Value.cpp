#include "host/expr/EV_Value.h"

const char* EV_typeName(EV_Type type) {
    switch (type) {
    case EV_FLOAT: return "a number";
    case EV_STRING: return "a string";
    case EV_VECTOR: return "a vector";
    case EV_VECTOR4: return "a vector of four";
    default: return "a value";
    }
}

int EV_typeSize(EV_Type type) {
    switch (type) {
    case EV_FLOAT: return 1;
    case EV_VECTOR: return 3;
    case EV_VECTOR4: return 4;
    default: return 0;
    }
}
