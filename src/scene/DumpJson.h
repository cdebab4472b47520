#pragma once

#include <iosfwd>

class ParticleNetwork;

/// Writes the state of a network's particle detail at its current frame as one JSON object (the format is told in the
/// manual). With `guides` the guide geometry is cooked and added; the particles stay as they are.
void dumpJson(ParticleNetwork& network, bool guides, std::ostream& out);
