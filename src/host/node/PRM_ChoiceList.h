#pragma once

#include "host/node/PRM_Name.h"

class PRM_Parm;
struct PRM_SpareData;

/// What choosing an entry does: replace the value, or toggle the entry's token in a blank-separated list.
enum class PRM_ChoiceListType { Replace = 2, Toggle = 8 };

/// Fills names[0 .. size) with the entries of a menu that depends on the node's state; the last entry has a null token.
/// `node` is the OP_Node the menu is built for.
using PRM_MenuBuilder = void (*)(void* node, PRM_Name* names, int size, const PRM_SpareData* spare, PRM_Parm* parm);

/// A parameter's menu: a static table of names ended by a null token, or a builder.
class PRM_ChoiceList {
public:
    constexpr PRM_ChoiceList(PRM_ChoiceListType type, const PRM_Name* names)
        : myType(type)
        , myNames(names) {}
    constexpr PRM_ChoiceList(PRM_ChoiceListType type, PRM_MenuBuilder build)
        : myType(type)
        , myBuilder(build) {}

    PRM_ChoiceListType type() const { return myType; }
    /// The static entries, or null for a built menu.
    const PRM_Name* names() const { return myNames; }
    PRM_MenuBuilder builder() const { return myBuilder; }
    /// Ordinal of a token among the static entries, or -1.
    int indexOf(const char* token) const;

private:
    PRM_ChoiceListType myType;
    const PRM_Name* myNames = nullptr;
    PRM_MenuBuilder myBuilder = nullptr;
};

/// Separator entry of built menus: its token marks the line, it has no label.
inline constexpr PRM_Name PRMseparatorName{"_separator_", nullptr};
