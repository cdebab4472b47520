#pragma once

/// Registers what scenes are made of: object, geometry, particle and shader types, and the reader of geometry files.
/// The first call does it, later ones do nothing.
void registerSceneTypes();
