#pragma once

class OP_OperatorTable;

/// Adds the object types `geo` (holds geometry nodes; without any it is a null), `forceobj` (a `geo` that forces refer
/// to) and `flxnet` (see ParticleNetwork).
void registerObjectTypes(OP_OperatorTable& table);

/// Adds the shader types `shader` and `switch`.
void registerShaderTypes(OP_OperatorTable& table);
