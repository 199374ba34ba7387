#pragma once

#include <vlgim/GimData.h>

#include <tinyxml2.h>

#include <initializer_list>
#include <utility>

// Pieces that the demo's models have in common.
namespace vela::vlgim::tools {

/// A channel of keyCount keys at rest: position 0, no rotation as a quaternion, scale 1; keyed ones once a key.
vlTransKeysData RestingChannel(unsigned short keyCount, bool posKeyed, bool rotKeyed);

using Attributes = std::initializer_list<std::pair<const char*, const char*>>;

/// Appends an element to a node of a document.
tinyxml2::XMLElement* Append(tinyxml2::XMLNode* parent, const char* name, const Attributes& attributes = {});

/// Makes the manifest: submesh i has the i-th name and the i-th material. Returns its root.
tinyxml2::XMLElement* BuildManifest(GimData& model, std::initializer_list<const char*> submeshes);

/// Appends a material to the material group document, which it begins if it is the first.
void AppendMaterial(GimData& model, const char* name, const Attributes& parameters);

/// Makes the music document, of one event.
void BuildMusic(GimData& model, const char* event, const char* volume);

}  // namespace vela::vlgim::tools
