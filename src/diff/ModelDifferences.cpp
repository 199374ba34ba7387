#include "Parts.h"

#include <tinyxml2.h>

#include <map>

namespace vela::vlgim::diff {

namespace {

// The attribute alone: where the mesh was found depends on where the manifest lies.
std::optional<std::string> MeshPath(const GimData& model)
{
    const tinyxml2::XMLElement* root = model.m_gimXml.GetElement("Vela", nullptr);
    const char* path = root ? root->Attribute("Mesh") : nullptr;
    return path ? std::optional<std::string>(path) : std::nullopt;
}

void CompareManifests(const Comparer& out, const GimData& a, const GimData& b)
{
    const std::size_t before = out.Count();
    out.Value("mesh path", "", MeshPath(a), MeshPath(b));
    out.Text("skeleton name", a.GetSkeletonName(), b.GetSkeletonName());
    for (std::size_t i = 0; i < std::min(a.m_submeshes.size(), b.m_submeshes.size()); ++i) {
        const SubmeshMessage &submeshA = a.m_submeshes[i], &submeshB = b.m_submeshes[i];
        const Comparer submesh = out.Within(SubmeshText(i, a.m_submeshes));
        submesh.Text("Name", submeshA.name, submeshB.name);
        submesh.Text("MtlIdx", std::to_string(submeshA.mtlIdx), std::to_string(submeshB.mtlIdx));
    }
    // Of submeshes another count is named with the mesh.
    if (a.m_mesh.m_submeshCount == b.m_mesh.m_submeshCount && out.Count() == before)
        CompareDocuments(out, "manifest", a.m_gimXml, b.m_gimXml);
}

void CompareParams(const Comparer& out, const MaterialMessage& a, const MaterialMessage& b)
{
    std::map<std::string_view, std::pair<std::optional<std::string>, std::optional<std::string>>> params;
    for (const auto& [name, value] : a.params)
        params[name].first = value;
    for (const auto& [name, value] : b.params)
        params[name].second = value;
    for (const auto& [name, values] : params)
        out.Value(name, "", values.first, values.second);
}

Names MaterialNames(const GimData& model)
{
    Names names;
    for (const MaterialMessage& material : model.m_materials)
        names.push_back(material.name);
    return names;
}

void CompareMaterials(const Comparer& out, const GimData& a, const GimData& b)
{
    if (!out.Both("material group", !a.m_mtgXml.IsEmpty(), !b.m_mtgXml.IsEmpty()))
        return;
    const std::size_t before = out.Count();
    Pairs materials(MaterialNames(a), MaterialNames(b));
    CompareLists(out, "material", materials, [&](const Comparer& material, std::size_t i, std::size_t j) {
        CompareParams(material, a.m_materials[i], b.m_materials[j]);
    });
    if (out.Count() == before)
        CompareDocuments(out, "material group", a.m_mtgXml, b.m_mtgXml);
}

}  // namespace

void CompareModels(const Comparer& out, const GimData& a, const GimData& b)
{
    CompareManifests(out, a, b);
    CompareMaterials(out, a, b);
    CompareDocuments(out, "music", a.m_musicXml, b.m_musicXml);
    CompareMeshes(out, a.m_mesh, b.m_mesh, a.m_submeshes);
}

}  // namespace vela::vlgim::diff
