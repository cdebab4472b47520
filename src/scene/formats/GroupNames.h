#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace formats {

/// The name a group may have that comes closest: characters that group names exclude become underscores.
std::string groupNameFrom(std::string_view text);

/// Groups cost one bit per element up to their last member. Throws FormatError when all groups together would take
/// far more memory than the file itself, as crafted files can ask for.
class GroupBudget {
public:
    explicit GroupBudget(size_t fileBytes)
        : myLeft((size_t{256} << 20) + fileBytes * 64) {}
    void take(size_t lastMember);

private:
    size_t myLeft;
};

} // namespace formats
