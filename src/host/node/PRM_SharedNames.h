#pragma once

#include "host/node/PRM_ChoiceList.h"
#include "host/node/PRM_Name.h"

/// Names and menus that many operators share: the one place where their tokens and labels stand.
inline constexpr PRM_Name PRMactivateName{"activate", "Activation"};
inline constexpr PRM_Name PRMsourceName{"source", "Source Group"};
inline constexpr PRM_Name PRMswitcherName{"switcher", ""};
inline constexpr PRM_Name PRMfullscaleName{"scale", "Scale"};
inline constexpr PRM_Name PRMseedName{"seed", "Seed"};
inline constexpr PRM_Name PRMturbName{"turb", "Turbulence"};
inline constexpr PRM_Name PRMroughName{"rough", "Roughness"};
inline constexpr PRM_Name PRMattenName{"atten", "Exponent"};
inline constexpr PRM_Name PRMfreqName{"freq", "Frequency"};
inline constexpr PRM_Name PRMampName{"amp", "Amplitude"};
inline constexpr PRM_Name PRMoffsetName{"offset", "Offset"};
inline constexpr PRM_Name PRMnoiseTypeName{"ntype", "Noise Type"};
inline constexpr PRM_Name PRMtranslateName{"t", "Translate"};
inline constexpr PRM_Name PRMrotateName{"r", "Rotate"};
inline constexpr PRM_Name PRMscaleName{"s", "Scale"};
inline constexpr PRM_Name PRMpivotName{"p", "Pivot"};
inline constexpr PRM_Name PRMuniformScaleName{"scale", "Uniform Scale"};

inline constexpr PRM_Name PRMinputLabelNames[4] = {{"label1", "Input #1 Label"},
                                                   {"label2", "Input #2 Label"},
                                                   {"label3", "Input #3 Label"},
                                                   {"label4", "Input #4 Label"}};
inline constexpr const char* PRMinputLabelDefaults[4] = {"Sub-Network Input #1", "Sub-Network Input #2",
                                                         "Sub-Network Input #3", "Sub-Network Input #4"};

/// The four noise types, in menu order.
extern const PRM_ChoiceList PRMnoiseMenu;
