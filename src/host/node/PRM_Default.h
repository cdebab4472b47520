#pragma once

/// A component's default: a number, or a text that is an expression for numeric parameters and the value of string
/// ones.
struct PRM_Default {
    double value = 0;
    const char* text = nullptr;

    constexpr PRM_Default() = default;
    constexpr PRM_Default(double number)
        : value(number) {}
    constexpr PRM_Default(int number) // so that a plain 0 is no null text
        : value(number) {}
    constexpr PRM_Default(const char* expression)
        : text(expression) {}
};
