#pragma once
#include <array>
#include <string>
#include <utility>
#include <vector>

// Type codes of the expression language. Numbers are IEEE doubles, strings are byte strings of at most
// EV_MAX_STRING bytes, vectors have three or four components.
enum EV_Type : int {
    EV_FLOAT = 0,
    EV_STRING = 1,
    EV_VECTOR = 2,  // three components
    EV_VECTOR4 = 3, // four components
    EV_ANY = 4,     // argument types only: whatever is given
};

// "a number", "a string", "a vector": for messages.
const char* EV_typeName(EV_Type type);

// The number of doubles a value of this type holds: 1, 3, 4; a string holds none.
int EV_typeSize(EV_Type type);

constexpr size_t EV_MAX_STRING = size_t(1) << 20;    // bytes a string value may have
constexpr size_t EV_MAX_STRINGS = 8 * EV_MAX_STRING; // bytes of the string values that an evaluation holds at a time

// One value of the language: an argument or the result of a function, or of a whole expression.
struct EV_Value {
    EV_Type type = EV_FLOAT;
    double v[4] = {0, 0, 0, 0}; // number: v[0]; vector: three or four
    std::string s;              // string only

    EV_Value() = default;
    EV_Value(double number)
        : v{number, 0, 0, 0} {}
    EV_Value(std::string text)
        : type(EV_STRING)
        , s(std::move(text)) {}
    EV_Value(double x, double y, double z)
        : type(EV_VECTOR)
        , v{x, y, z, 0} {}

    double number() const { return v[0]; }
};

// The result of a vector evaluation; an evaluation resizes it to what the expression yields, at most four components.
class ev_Vector {
public:
    explicit ev_Vector(int size = 1)
        : mySize(size) {}
    int size() const { return mySize; }
    void resize(int size) { mySize = size; }
    double& operator[](int i) { return myData[size_t(i)]; }
    double operator[](int i) const { return myData[size_t(i)]; }

private:
    std::array<double, 4> myData{};
    int mySize;
};
