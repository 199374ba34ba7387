#pragma once

#include <vlio2/XmlData.h>

#include <string>
#include <vector>

// What a manifest says of the files that belong to it.
namespace vela::vlgim::manifest {

using Elements = std::vector<tinyxml2::XMLElement*>;

/// Where the mesh lies: as the manifest names it, below basePath if that is not null and the name is relative; else
/// beside the manifest.
std::string MeshPath(const vlio::XmlData& gim, const char* path, const char* basePath);

/// Where the material group lies.
std::string MaterialPath(const vlio::XmlData& gim, const char* path, const char* basePath);

/// As the manifest has it; empty where it names none.
std::string SkeletonName(const vlio::XmlData& gim);

/// The submesh records, and the materials of a material group document; none where there is no list of them.
Elements Submeshes(const vlio::XmlData& gim);
Elements Materials(const vlio::XmlData& mtg);

/// The parameters of a material; null where it has no table of them.
tinyxml2::XMLElement* Parameters(const vlio::XmlData& mtg, const tinyxml2::XMLElement* material);

}  // namespace vela::vlgim::manifest
