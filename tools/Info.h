#pragma once

#include <vlgim/GimData.h>

#include <string>

namespace vela::vlgim::tools {

/// Prints an account of a model that is loaded already.
void PrintModel(const std::string& path, const GimData& model);

}  // namespace vela::vlgim::tools
