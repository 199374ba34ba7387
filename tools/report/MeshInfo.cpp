#include "report/Info.h"
#include "report/Print.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <map>

namespace vela::vlgim::tools {

namespace {

using Vector3 = geomath::_Vector3<float>;

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr std::uint16_t kNone = 0xFFFF;  // no bone, no parent
constexpr std::uint32_t kSlots = 4;      // bone references a vertex

// Null: the mesh is not skinned.
const vlMeshSkelVertexData* SkinOf(const vlMeshData& mesh)
{
    return dynamic_cast<const vlMeshSkelVertexData*>(mesh.m_vertexData.get());
}

// Of all arrays, most of which are the vertices'.
std::uint64_t BytesOf(const vlMeshData& mesh, const Json& tracks)
{
    const vlMeshVertexData& vertices = *mesh.m_vertexData;
    std::uint64_t size = BytesInMemory(vertices.m_subRecords, vertices.m_positions, vertices.m_normals,
                                       vertices.m_tangents, vertices.m_indices, vertices.m_colors) +
                         BytesInMemory(mesh.m_boneParents, mesh.m_boneNames, mesh.m_boneNameIds,
                                       mesh.m_boneMatrices, mesh.m_boneBounds);
    for (const auto& uvs : vertices.m_uvSets)
        size += BytesInMemory(uvs);
    if (const auto* skin = SkinOf(mesh))
        size += BytesInMemory(skin->m_boneIndices, skin->m_boneWeights);
    if (mesh.m_morph)
        size += BytesInMemory(mesh.m_morph->m_times.m_times);
    for (const Json& track : tracks)
        size += track["bytes_in_memory"].get<std::uint64_t>();
    for (const auto& data : mesh.m_originalData)
        size += sizeof *data + BytesInMemory(data->m_origPositions, data->m_origIndices, data->m_origExtra,
                                             data->m_origBones, data->m_origWeights);
    return size;
}

// Around the positions of all frames, but for NaN, which is in no box: where an axis has nothing else, its low is infinity
// and its high minus infinity.
Json BoxOf(const vlMeshVertexData& mesh)
{
    if (mesh.m_positions.empty())
        return nullptr;
    Vector3 low{kInfinity, kInfinity, kInfinity}, high{-kInfinity, -kInfinity, -kInfinity};
    for (const Vector3& p : mesh.m_positions) {
        low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
        high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
    }
    return {{"low", Numbers(low)}, {"high", Numbers(high)}};
}

bool HasColors(const vlMeshVertexData& mesh)
{
    return std::any_of(mesh.m_subRecords.begin(), mesh.m_subRecords.end(),
                       [](const SubmeshRecord& record) { return record.hasColors != 0; });
}

// Indices beyond the last vertex.
std::size_t BadIndices(const vlMeshVertexData& mesh)
{
    const auto isBad = [&mesh](std::uint16_t index) { return index >= mesh.m_vertexCount; };
    return static_cast<std::size_t>(std::count_if(mesh.m_indices.begin(), mesh.m_indices.end(), isBad));
}

Json SubmeshInfo(const SubmeshRecord& record)
{
    return {{"first_vertex", record.firstVertex},     {"vertices", record.vertexCount},
            {"first_triangle", record.firstTriangle}, {"triangles", record.triangleCount},
            {"uv_sets", record.uvSetCount},           {"colors", record.hasColors != 0}};
}

// What the slots of all vertices come to. Slots without a bone count for nothing.
struct SkinFacts {
    std::uint64_t byInfluences[kSlots + 1] = {};     // vertices with 0 to 4 weights that are not 0
    float lowest = kInfinity, highest = -kInfinity;  // sum of a vertex' weights, but for NaN
    std::uint64_t nanSums = 0;
    std::uint64_t missingBones = 0;  // slots that refer to a bone that does not exist

    Json WeightSums() const
    {
        if (lowest > highest)
            return nullptr;
        return {{"lowest", Number(lowest)}, {"highest", Number(highest)}};
    }
};

SkinFacts Tally(const vlMeshSkelVertexData& skin, std::size_t boneCount)
{
    SkinFacts facts;
    for (std::size_t first = 0; first < skin.m_boneIndices.size(); first += kSlots) {
        unsigned influences = 0;
        float sum = 0;
        for (std::size_t slot = first; slot < first + kSlots; ++slot) {
            const std::uint16_t bone = skin.m_boneIndices[slot];
            if (bone == kNone)
                continue;
            influences += skin.m_boneWeights[slot] != 0.0F ? 1 : 0;
            sum += skin.m_boneWeights[slot];
            // A mesh without bones refers to those of another.
            facts.missingBones += boneCount != 0 && bone >= boneCount ? 1 : 0;
        }
        ++facts.byInfluences[influences];
        facts.nanSums += std::isnan(sum) ? 1 : 0;
        facts.lowest = std::min(facts.lowest, sum);  // which a NaN leaves as it is
        facts.highest = std::max(facts.highest, sum);
    }
    return facts;
}

Json BoneInfo(const vlMeshData& mesh, const std::vector<bool>& used, std::size_t bone)
{
    const std::uint16_t parent = mesh.m_boneParents[bone];
    Json bounds;
    if (mesh.m_boneBounds)
        bounds = {{"extents", Numbers(mesh.m_boneBounds[bone].m_extents)},
                  {"radius", Number(mesh.m_boneBounds[bone].m_radius)}};
    return {{"name", Shown(mesh.m_boneNames[bone])},
            {"parent", parent == kNone ? Json() : Json(parent)},
            {"used", bone < used.size() && used[bone]},
            {"bounds", bounds}};
}

Json SkinInfo(const vlMeshData& mesh)
{
    const vlMeshSkelVertexData* skin = SkinOf(mesh);
    if (!skin)
        return nullptr;
    const std::size_t boneCount = mesh.m_boneParents.size();
    const SkinFacts facts = Tally(*skin, boneCount);
    Json bones = Json::array(), used = Json::array();
    for (std::size_t bone = 0; bone < boneCount; ++bone)
        bones.push_back(BoneInfo(mesh, skin->m_usedBones, bone));
    for (std::size_t bone = 0; bone < skin->m_usedBones.size(); ++bone)
        if (skin->m_usedBones[bone])
            used.push_back(bone);
    return {{"slots_per_vertex", kSlots},
            {"weight_sums", facts.WeightSums()},
            {"nan_weight_sums", facts.nanSums},
            {"vertices_by_influences", facts.byInfluences},
            {"bad_bone_references", facts.missingBones},
            {"mask_bits", skin->m_usedBones.size()},
            {"used_bones", used},
            {"bones", bones}};
}

Json MorphInfo(const vlMorphData& morph)
{
    const std::span times(morph.m_times.GetKeyTimes(), morph.m_times.GetKeyCount());
    return {{"mode", morph.m_morphMode}, {"times", Numbers(times)}};
}

Json OriginalInfo(const std::shared_ptr<vlOriginalData>& data)
{
    return {{"block_type", static_cast<std::uint32_t>(data->m_type)},
            {"vertices", data->m_origVertexCount},
            {"indices", data->m_origIndexCount},
            {"extra", data->m_origExtraCount},
            {"skin", data->m_origBones != nullptr}};
}

Json MeshInfo(const vlMeshData& mesh, const std::string& countSource)
{
    const vlMeshVertexData& vertices = *mesh.m_vertexData;
    const Json tracks = List(mesh.m_tracks, TrackInfo);
    return {{"format_version", Hex(mesh.m_version)},
            {"pack_mode", mesh.m_packMode},
            {"skeleton_flag", mesh.m_skeletonFlag},
            {"submesh_count_source", countSource},
            {"vertices", vertices.m_vertexCount},
            {"triangles", vertices.m_triangleCount},
            {"frames", vertices.m_frameCount},
            {"tangents", vertices.m_tangents != nullptr},
            {"uv_sets", vertices.m_uvSetCount},
            {"colors", HasColors(vertices)},
            {"box", BoxOf(vertices)},
            {"bad_indices", BadIndices(vertices)},
            {"bytes_in_memory", BytesOf(mesh, tracks)},
            {"submeshes", List(vertices.m_subRecords, SubmeshInfo)},
            {"skin", SkinInfo(mesh)},
            {"morph", mesh.m_morph ? MorphInfo(*mesh.m_morph) : Json()},
            {"tracks", tracks},
            {"original_data", List(mesh.m_originalData, OriginalInfo)}};
}

Json ManifestSubmesh(const SubmeshMessage& submesh)
{
    return {{"name", Shown(submesh.name)}, {"material", submesh.mtlIdx}};
}

Json MaterialInfo(const MaterialMessage& material)
{
    const std::map<std::string, std::string> sorted(material.params.begin(), material.params.end());
    Json parameters = Json::object();
    for (const auto& [name, value] : sorted)
        parameters[Shown(name)] = Shown(value);
    return {{"name", Shown(material.name)}, {"parameters", parameters}};
}

}  // namespace

Json InfoOf(const std::string& path, const GimData& model)
{
    const std::string skeleton = model.GetSkeletonName();
    return Line("model", {{"file", Shown(path)},
                          {"mesh_file", Shown(model.m_meshPath)},
                          {"skeleton", skeleton.empty() ? Json() : Json(Shown(skeleton))},
                          {"music", !model.m_musicXml.IsEmpty()},
                          {"submeshes", List(model.m_submeshes, ManifestSubmesh)},
                          {"materials", List(model.m_materials, MaterialInfo)},
                          {"mesh", MeshInfo(model.m_mesh, "as the manifest says")}});
}

Json InfoOf(const std::string& path, const MeshFile& file)
{
    char magic[12];
    std::snprintf(magic, sizeof magic, "%02X %02X %02X %02X", file.magic[0], file.magic[1], file.magic[2],
                  file.magic[3]);
    return Line("mesh", {{"file", Shown(path)},
                         {"bytes", file.size},
                         {"magic", magic},
                         {"mesh", MeshInfo(file.mesh, file.countSource)}});
}

}  // namespace vela::vlgim::tools
