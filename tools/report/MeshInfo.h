#pragma once

#include <vlgim/GimData.h>

#include <string>
#include <vector>

namespace vela::vlgim::tools {

/// Prints an account of a mesh that was read. Nothing in it is believed that a reader does not check.
/// countSource   where the submesh count came from
/// names         of the submeshes; may be fewer than those
void PrintMesh(const vlMeshData& mesh, const std::string& countSource,
               const std::vector<SubmeshMessage>& names);

}  // namespace vela::vlgim::tools
