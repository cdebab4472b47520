#include "host/expr/EV_Scope.h"

EV_Scope::~EV_Scope() = default;
