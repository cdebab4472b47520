#pragma once
#include <string>
#include <string_view>

// The value of an int, toggle or menu parameter: truncated toward zero, saturated at the ends of int, NaN gives 0.
int EV_toInt(double value);

// A number as text: whole numbers without decimals, others with as few digits as read back to the same number (to the
// same float when the number is one, so 0.1f is "0.1"); "nan", "inf", "-inf".
std::string EV_numberText(double value);

// Reads a decimal number at the start of text ("1.5e3", ".5"; no sign) independent of the locale. Returns the bytes
// read, 0 when there is none. A number too large is inf, one too small 0.
size_t EV_parseNumber(std::string_view text, double& value);
