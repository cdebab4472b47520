#pragma once

#include <string>

class GU_Detail;

/// Reads a geometry file as the state a simulation starts from; its name is relative to the scene's folder. Geometry
/// without particle primitives becomes one particle primitive over all its points, generator "". False with a message,
/// and an empty detail, when the file cannot be read.
bool loadInitialState(GU_Detail& detail, const char* file, std::string& error);
