#include "host/node/SHOP_Node.h"

SHOP_Node::SHOP_Node(OP_Network* parent, const char* name, OP_Operator* op)
    : OP_Network(parent, name, op) {}

UT_ErrorSeverity SHOP_Node::cookMe(OP_Context&) { return error(); }
UT_ErrorSeverity SHOP_Node::bypassMe(OP_Context&, int&) { return error(); }
