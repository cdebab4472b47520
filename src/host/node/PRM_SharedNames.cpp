#include "host/node/PRM_SharedNames.h"

namespace {

// Operators map these ordinals to the noise types 0, 2, 1, 3.
constexpr PRM_Name theNoiseNames[] = {{"gradient", "Gradient Noise"},
                                      {"value", "Value Noise"},
                                      {"sparse", "Sparse Noise"},
                                      {"cellular", "Cellular Noise"},
                                      {}};

} // namespace

constinit const PRM_ChoiceList PRMnoiseMenu{PRM_ChoiceListType::Replace, theNoiseNames};
