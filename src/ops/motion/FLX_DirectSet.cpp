#include "ops/motion/FLX_DirectSet.h"

namespace {

constexpr PRM_Name applyNames[] = {{"all", "to all points"}, {"moving", "to moving points"}, {nullptr, nullptr}};

} // namespace

const PRM_ChoiceList FLX_ApplyMotion::menu(PRM_ChoiceListType::Replace, applyNames);
