#pragma once
#include "host/expr/EV_Function.h"

// Callbacks of the string functions. Lengths and positions count characters (UTF-8), so that no character is ever cut.
bool EV_strlen(EV_CallContext& context, const EV_Value* args, int count, EV_Value& result);
bool EV_strcat(EV_CallContext& context, const EV_Value* args, int count, EV_Value& result);
bool EV_substr(EV_CallContext& context, const EV_Value* args, int count, EV_Value& result);
bool EV_strmatch(EV_CallContext& context, const EV_Value* args, int count, EV_Value& result);
