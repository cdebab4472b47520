#pragma once

#include <string_view>

/// A node some of whose string parameters hold JSON: in a scene such a value may be written as JSON itself.
class StructuredParms {
public:
    virtual ~StructuredParms() = default;
    virtual bool holdsJson(std::string_view token) const = 0;
};
