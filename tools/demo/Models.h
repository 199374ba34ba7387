#pragma once

#include <vlgim/GimData.h>
#include <vlgim/GisData.h>

// The models of the demo. Each of the first three fills the mesh and the three documents; m_meshPath is the caller's.
namespace vela::vlgim::tools {

/// Makes a small house of three submeshes: walls with two uv sets, a roof with one and with colours, and a door; with a
/// track for each, of which the door's swings it open and shut.
void BuildHouse(GimData& model);

/// Makes a flag of two submeshes, a pole and a cloth of coloured stripes, that waves in three morph frames.
void BuildFlag(GimData& model);

/// Makes the body of a walking figure: boxes along the bones, skinned to the skeleton in walker.gis, that share the
/// corners at a joint between its two bones; and a block of original data, the same boxes with each corner once.
void BuildWalkerBody(GimData& model);

/// Makes the skeleton of the figure, a dozen bones, with three clips: "walk" with shared key times and 32-bit rotations,
/// "wave" with key times for each bone and halves, "idle" with shared times and floats. Fills the animation and the
/// document; m_path is the caller's.
void BuildWalker(GisData& skeleton);

/// Prints what each form of rotation keys takes in a file and loses, for a bone that swings through 60 keys. False if
/// the channel could not be written or read back.
bool PrintKeyForms();

}  // namespace vela::vlgim::tools
