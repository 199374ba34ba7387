#pragma once

#include "Comparer.h"

namespace vela::vlgim::diff {

/// names  of the submeshes, for those that have one
void CompareMeshes(Comparer& out, const vlMeshData& a, const vlMeshData& b,
                   const std::vector<SubmeshMessage>& names);

/// As in "submesh 'roof'", or "submesh 1" where it has no name.
std::string SubmeshText(std::size_t index, const std::vector<SubmeshMessage>& names);

}  // namespace vela::vlgim::diff
