#pragma once

#include <memory>

#include "host/node/OP_Director.h"
#include "host/node/OP_Operator.h"
#include "host/node/OP_OperatorTable.h"

/// A constructor of nodes for operator tables.
template <class T> OP_Node* makeNode(OP_Network* parent, const char* name, OP_Operator* op) {
    return new T(parent, name, op);
}

/// Makes T a type of nodes of a family ("OBJ", "SOP", ...).
template <class T>
void registerType(const char* family, const char* name, const OP_VariablePair* variables = nullptr,
                  unsigned flags = 0) {
    OP_Director::operatorTable(family).addOperator(
        std::make_unique<OP_Operator>(name, name, &makeNode<T>, 0, 9999, variables, flags));
}
