#include "vars/FLX_VectorParms.h"

namespace {

constexpr PRM_Name vectorTypeNames[] = {{"vector", "Vector"}, {"comp", "Component"}, {nullptr, nullptr}};

} // namespace

const PRM_ChoiceList FLXvectorTypeMenu(PRM_ChoiceListType::Replace, vectorTypeNames);
