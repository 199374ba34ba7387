#pragma once

#include "report/Load.h"

#include <string>

namespace vela::vlgim::tools {

/// Prints an account of a model, or of a mesh on its own, that is loaded already.
void PrintInfo(const std::string& path, const GimData& model);
void PrintInfo(const std::string& path, const MeshFile& file);

}  // namespace vela::vlgim::tools
