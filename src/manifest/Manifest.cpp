#include "Manifest.h"

#include <vlio2/Path.h>

#include <tinyxml2.h>

#include <utility>

namespace vela::vlgim::manifest {

namespace {

// Null where the element or its attribute is missing.
const char* AttributeAt(const vlio::XmlData& document, const char* path, const char* name)
{
    const tinyxml2::XMLElement* element = document.FindElement(path, nullptr);
    return element ? element->Attribute(name) : nullptr;
}

Elements ChildrenAt(const vlio::XmlData& document, const char* path)
{
    Elements children;
    if (const tinyxml2::XMLElement* list = document.FindElement(path, nullptr))
        document.GetChildElementList(children, list, nullptr);
    return children;
}

Error Missing(std::string block, const char* text)
{
    return {ErrorKind::Reference, 0, "", std::move(block), std::nullopt, text};
}

}  // namespace

std::string MeshPath(const vlio::XmlData& gim, const char* path, const char* basePath)
{
    const char* named = AttributeAt(gim, "Vela", "Mesh");
    const std::string mesh = named ? vlio::FormatPath(named) : vlio::ReplaceFileExtension(path, ".mesh");
    return basePath && vlio::IsRelativePath(mesh.c_str()) ? basePath + mesh : mesh;
}

std::string MaterialPath(const vlio::XmlData& gim, const char* path, const char* basePath)
{
    const char* named = AttributeAt(gim, "Vela/MtgFile", "MtgPath");
    return named && basePath ? std::string(basePath) + named : vlio::ReplaceFileExtension(path, ".mtg");
}

std::string MusicPath(const char* path)
{
    return vlio::ReplaceFileExtension(path, "_music.ags");
}

std::string SkeletonName(const vlio::XmlData& gim)
{
    const char* name = AttributeAt(gim, "Vela/SkeletonFile/FileName", "Value");
    return name ? name : "";
}

Elements Submeshes(const vlio::XmlData& gim)
{
    return ChildrenAt(gim, "Vela/SubMesh");
}

Error WhyNoSubmeshes(const vlio::XmlData& gim)
{
    if (!gim.FindElement("Vela/SubMesh", nullptr))
        return Missing("Vela", "No Vela SubMesh element in gim file.");
    return Submeshes(gim).empty() ? Missing("Vela/SubMesh", "SubMesh list is empty.") : Error();
}

std::uint32_t CountSubmeshes(const vlio::XmlData& gim, const std::string& path, const char* basePath,
                             const std::string& meshPath)
{
    // Either may be relative: to the base, or to the working directory.
    const auto slashed = [](const std::string& name) {
        return std::string("/").append(vlio::FormatPath(name.c_str()));
    };
    const std::string named = slashed(MeshPath(gim, path.c_str(), basePath)), mesh = slashed(meshPath);
    return named.ends_with(mesh) || mesh.ends_with(named) ? static_cast<std::uint32_t>(Submeshes(gim).size())
                                                          : 0;
}

Error ReadSubmesh(const tinyxml2::XMLElement& element, SubmeshMessage& submesh)
{
    const char* name = element.Attribute("Name");
    const tinyxml2::XMLAttribute* mtlIdx = element.FindAttribute("MtlIdx");
    if (!name || !mtlIdx)
        return Missing("Vela/SubMesh / " + std::string(element.Name()),
                       name ? "the submesh has no MtlIdx" : "the submesh has no Name");
    submesh = {name, 0};
    mtlIdx->QueryIntValue(&submesh.mtlIdx);
    return {};
}

Elements Materials(const vlio::XmlData& mtg)
{
    return ChildrenAt(mtg, "Vela/MaterialGroup");
}

tinyxml2::XMLElement* Parameters(const vlio::XmlData& mtg, const tinyxml2::XMLElement* material)
{
    return mtg.FindElement("Material/ParamTable", material);
}

}  // namespace vela::vlgim::manifest
