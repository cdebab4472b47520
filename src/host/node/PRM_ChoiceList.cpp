#include "host/node/PRM_ChoiceList.h"

#include <string_view>

int PRM_ChoiceList::indexOf(const char* token) const {
    if (!myNames || !token) return -1;
    for (int i = 0; myNames[i].token; ++i)
        if (std::string_view(myNames[i].token) == token) return i;
    return -1;
}
