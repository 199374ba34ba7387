#pragma once

#include <vlgim/GimData.h>
#include <vlio2/XmlData.h>

#include <cstdint>
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

/// Where the music document lies.
std::string MusicPath(const char* path);

/// As the manifest has it; empty where it names none.
std::string SkeletonName(const vlio::XmlData& gim);

/// The submesh records, and the materials of a material group document; none where there is no list of them.
Elements Submeshes(const vlio::XmlData& gim);
Elements Materials(const vlio::XmlData& mtg);

/// Why there is no submesh record; success if there is one.
Error WhyNoSubmeshes(const vlio::XmlData& gim);

/// Submesh records of the manifest at `path`, if it names the mesh at meshPath; else 0.
std::uint32_t CountSubmeshes(const vlio::XmlData& gim, const std::string& path, const char* basePath,
                             const std::string& meshPath);

/// Reads a submesh record. An error if it lacks an attribute.
Error ReadSubmesh(const tinyxml2::XMLElement& element, SubmeshMessage& submesh);

/// The parameters of a material; null where it has no table of them.
tinyxml2::XMLElement* Parameters(const vlio::XmlData& mtg, const tinyxml2::XMLElement* material);

}  // namespace vela::vlgim::manifest
