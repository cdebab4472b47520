#include "host/ut/UT_EnvControl.h"

#include <charconv>
#include <cstdlib>
#include <map>
#include <string_view>

#include "host/ut/UT_Lock.h"

namespace {

constexpr int SWITCH_FLAGS = 113;

struct Overrides {
    UT_Lock lock;
    std::map<int, int> values;
};

Overrides& overrides() {
    static Overrides table;
    return table;
}

int fromEnvironment(const char* variable) {
    const char* value = std::getenv(variable);
    if (!value) return 0;
    const std::string_view text = value;
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? number : 0;
}

} // namespace

int UT_EnvControl::getInt(int number) {
    {
        UT_AutoLock held(overrides().lock);
        if (const auto it = overrides().values.find(number); it != overrides().values.end()) return it->second;
    }
    return number == SWITCH_FLAGS ? fromEnvironment("FLX_SWITCH_FLAGS") : 0;
}

void UT_EnvControl::setInt(int number, int value) {
    UT_AutoLock held(overrides().lock);
    overrides().values[number] = value;
}

void UT_EnvControl::resetInt(int number) {
    UT_AutoLock held(overrides().lock);
    overrides().values.erase(number);
}
