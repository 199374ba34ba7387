#pragma once

#include <vlgim/GimData.h>

#include <tinyxml2.h>

#include <utility>
#include <vector>

// Pieces that the demo's models have in common.
namespace vela::vlgim::tools {

/// A channel of keyCount keys at rest: position 0, no rotation as a quaternion, scale 1; keyed ones once a key.
vlTransKeysData RestingChannel(unsigned short keyCount, bool posKeyed, bool rotKeyed);

using Attributes = std::vector<std::pair<const char*, const char*>>;

/// Appends an element to a node of a document.
tinyxml2::XMLElement* Append(tinyxml2::XMLNode* parent, const char* name, const Attributes& attributes = {});

/// A submesh and its material.
struct Surface {
    const char* submesh;
    const char* material;
    Attributes parameters;
};

/// Makes the manifest, the material group and the music document, of one event. Returns the root of the manifest.
tinyxml2::XMLElement* BuildDocuments(GimData& model, const std::vector<Surface>& surfaces, const char* event,
                                     const char* volume);

}  // namespace vela::vlgim::tools
