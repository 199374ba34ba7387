#pragma once

#include <string>

namespace vela::vlgim::tools {

/// Writes a model into folder, loads it, prints it, saves it to folder/copy and compares the two. False if
/// any of it failed.
bool RunDemo(const std::string& folder);

}  // namespace vela::vlgim::tools
