#pragma once

#include <vlgim/vlAnimData.h>

#include <optional>
#include <string>
#include <string_view>

// Where the side files of an animation file lie.
namespace vela::vlgim::anim {

/// The folder of the side files; none for a path without a dot.
std::optional<std::string> SideFolder(const std::string& path);

std::string SidePath(const std::string& folder, const vlClipData& clip);

/// Whether a name leads out of its folder: it has a component "..", by either slash.
bool LeavesFolder(std::string_view name);

}  // namespace vela::vlgim::anim
