#include "Manifest.h"

#include <vlio2/Path.h>

#include <tinyxml2.h>

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

std::string SkeletonName(const vlio::XmlData& gim)
{
    const char* name = AttributeAt(gim, "Vela/SkeletonFile/FileName", "Value");
    return name ? name : "";
}

Elements Submeshes(const vlio::XmlData& gim)
{
    return ChildrenAt(gim, "Vela/SubMesh");
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
