#pragma once

#include <vlgim/vlAnimData.h>

#include <optional>
#include <string>

// Where the side files of an animation file lie.
namespace vela::vlgim::anim {

/// The folder of the side files; none for a path without a dot.
std::optional<std::string> SideFolder(const std::string& path);

/// A clip's name, up to the NUL or the end of its field.
std::string ClipName(const vlClipData& clip);

std::string SidePath(const std::string& folder, const vlClipData& clip);

/// Whether a name leads out of its folder: it has a component "..", by either slash.
bool LeavesFolder(const std::string& name);

}  // namespace vela::vlgim::anim
