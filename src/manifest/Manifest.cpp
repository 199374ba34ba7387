#include "Manifest.h"

#include <vlio2/Path.h>

#include <tinyxml2.h>

namespace vela::vlgim::manifest {

namespace {

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
    const tinyxml2::XMLElement* root = gim.GetElement("Vela", nullptr);
    const char* named = root ? root->Attribute("Mesh") : nullptr;
    const std::string mesh = named ? vlio::FormatPath(named) : vlio::ReplaceFileExtension(path, ".mesh");
    return basePath && vlio::IsRelativePath(mesh.c_str()) ? basePath + mesh : mesh;
}

std::string MaterialPath(const vlio::XmlData& gim, const char* path, const char* basePath)
{
    const tinyxml2::XMLElement* file = gim.FindElement("Vela/MtgFile", nullptr);
    const char* named = file ? file->Attribute("MtgPath") : nullptr;
    return named && basePath ? std::string(basePath) + named : vlio::ReplaceFileExtension(path, ".mtg");
}

std::string SkeletonName(const vlio::XmlData& gim)
{
    const tinyxml2::XMLElement* fileName = gim.FindElement("Vela/SkeletonFile/FileName", nullptr);
    const char* name = fileName ? fileName->Attribute("Value") : nullptr;
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
