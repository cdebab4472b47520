#include "scene/formats/GroupNames.h"

#include "host/geo/GB_GroupList.h"
#include "scene/formats/FormatError.h"

namespace formats {

std::string groupNameFrom(std::string_view text) {
    std::string name;
    for (const char c : text) {
        const bool bad =
            static_cast<unsigned char>(c) <= 0x20 || std::string_view("*?[]!").find(c) != std::string_view::npos;
        name += bad ? '_' : c;
    }
    return GBisGroupName(name) ? name : "_" + name;
}

void GroupBudget::take(size_t lastMember) {
    const size_t bytes = lastMember / 8 + 64;
    if (bytes > myLeft)
        throw FormatError("its groups need more memory than a file of this size may ask for; use fewer");
    myLeft -= bytes;
}

} // namespace formats
