#pragma once

#include <string>

namespace vela::vlgim::tools {

/// Writes three models and an animated skeleton into folder, loads them, prints them, saves them to folder/copy and
/// compares; then shows the forms of rotation keys. False if any of it failed.
bool RunDemo(const std::string& folder);

}  // namespace vela::vlgim::tools
