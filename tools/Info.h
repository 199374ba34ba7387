#pragma once

#include <vlgim/GimData.h>

#include <optional>
#include <string>

namespace vela::vlgim::tools {

struct InfoOptions {
    std::optional<std::string> base;         ///< base path of a manifest's mesh and material group
    std::optional<std::uint32_t> submeshes;  ///< submesh count of a .mesh file
};

/// Prints an account of a .gim, .mesh, .gis or track file to stdout. False: it can't be read, and stderr says why.
bool PrintFile(const std::string& path, const InfoOptions& options);

/// Prints an account of a model that is loaded already.
void PrintModel(const std::string& path, const GimData& model);

}  // namespace vela::vlgim::tools
