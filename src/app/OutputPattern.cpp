#include "app/OutputPattern.h"

#include <fmt/format.h>

std::string OutputPattern::name(int frame, const std::string& net) const {
    std::string out;
    for (size_t i = 0; i < myText.size();) {
        if (myText[i] == '#') {
            const size_t end = std::min(myText.find_first_not_of('#', i), myText.size());
            out += fmt::format("{:0{}}", frame, end - i);
            i = end;
        } else if (myText.compare(i, 2, "%n") == 0) {
            out += net;
            i += 2;
        } else {
            out += myText[i++];
        }
    }
    return out;
}
