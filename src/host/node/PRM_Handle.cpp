#include "host/node/PRM_Handle.h"

namespace {

constexpr PRM_Default theZero{0.0};

PRM_FolderSet folderSet(std::initializer_list<std::pair<const char*, int>> folders, bool hasValue) {
    return {{folders.begin(), folders.end()}, hasValue};
}

} // namespace

PRM_Folders::PRM_Folders(OP_Parameters* owner, std::initializer_list<std::pair<const char*, int>> folders,
                         const PRM_Name& name, bool hasValue)
    : PRM_Handle(owner, PRM_Type::Folder, 1, name, &theZero, folderSet(folders, hasValue)) {}

PRM_Multi::PRM_Multi(OP_Parameters* owner, const PRM_Name& name, int def, std::vector<PRM_Template> instance)
    : PRM_Multi(owner, name, PRM_Default(double(def)), PRM_InstanceRows{std::move(instance)}) {}

PRM_Button::PRM_Button(OP_Parameters* owner, const PRM_Name& name, PRM_Callback callback, const PRM_ChoiceList* menu)
    : PRM_Handle(owner, PRM_Type::Button, 1, name, &theZero, callback, menu) {}
