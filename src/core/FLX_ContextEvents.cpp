// The events of a context: strings of the detail attribute "event", "name:time" while raised, "name+time" once
// withdrawn.
#include <cstdio>

#include "core/FLX_ContextData.h"

namespace {

constexpr int MAX_WORDS = 64;

bool startsWith(const std::string& text, const std::string& prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

} // namespace

GB_Attribute* FLX_ContextData::getEventAttr() const {
    return myDetail ? myDetail->attribs().find("event", 4, GB_ATTRIB_INDEX) : nullptr;
}

void FLX_ContextData::addEvent(UT_String& names, float atTime) {
    GB_Attribute* events = getEventAttr();
    if (!events) return;
    for (const std::string& word : names.words(MAX_WORDS)) {
        for (int i = events->entries(); i-- > 0;)
            if (startsWith(events->getIndex(i), word + "+")) events->destroyIndex(i);
        char when[64];
        std::snprintf(when, sizeof when, ":%f", double(atTime));
        events->addIndex(word + when);
    }
}

void FLX_ContextData::removeEvent(UT_String& names) {
    GB_Attribute* events = getEventAttr();
    if (!events) return;
    for (const std::string& word : names.words(MAX_WORDS)) {
        std::vector<std::string> strings = events->indexStrings();
        for (std::string& entry : strings)
            if (startsWith(entry, word + ":")) entry[word.size()] = '+';
        events->setIndexStrings(std::move(strings));
    }
}

void FLX_ContextData::clearAllEvents() {
    if (GB_Attribute* events = getEventAttr()) events->clearIndex();
}
