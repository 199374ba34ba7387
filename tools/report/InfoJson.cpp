#include "report/InfoJson.h"

#include "report/AnimFacts.h"
#include "report/MeshFacts.h"
#include "report/Print.h"

#include <map>

namespace vela::vlgim::tools {

namespace {

Json Vector(const geomath::_Vector3<float>& v)
{
    return {Number(v.x), Number(v.y), Number(v.z)};
}

// A key list of a null array has no keys.
std::size_t KeyCount(const vlKeyTimes& times)
{
    return times.GetKeyTimes() ? times.GetKeyCount() : 0;
}

// The last key's time, which is a float wherever times were read.
Json Length(const vlKeyTimes& times)
{
    return Number(static_cast<float>(times.GetLength()));
}

Json ChannelJson(const vlTransKeysData& channel)
{
    return {{"position_keyed", channel.m_posKeyed != 0},
            {"rotation_keyed", channel.m_rotKeyed != 0},
            {"scale_keyed", channel.m_scaleKeyed != 0},
            {"rotation_order", channel.m_rotOrder}};
}

Json TrackJson(const vlTrackData& track)
{
    Json channels = Json::array();
    for (std::uint16_t i = 0; i < track.m_channelCount; ++i)
        channels.push_back(ChannelJson(track.m_channels[i]));
    return {{"format_version", Hex(track.m_version)},
            {"name", Shown(track.m_name)},
            {"options", track.m_options},
            {"flags", track.m_flags},
            {"keys", KeyCount(track.m_times)},
            {"length", Length(track.m_times)},
            {"channels", channels},
            {"bytes_in_memory", BytesInMemory(track)}};
}

Json SubmeshesJson(const vlMeshVertexData& vertices)
{
    Json list = Json::array();
    for (std::uint32_t i = 0; i < vertices.m_subCount; ++i) {
        const SubmeshRecord& record = vertices.m_subRecords[i];
        list.push_back({{"first_vertex", record.firstVertex},
                        {"vertices", record.vertexCount},
                        {"first_triangle", record.firstTriangle},
                        {"triangles", record.triangleCount},
                        {"uv_sets", record.uvSetCount},
                        {"colors", record.hasColors != 0}});
    }
    return list;
}

Json WeightSums(const SkinFacts& skin)
{
    if (!skin.HasSums())
        return nullptr;
    return {{"lowest", Number(skin.lowest)}, {"highest", Number(skin.highest)}};
}

Json BoundsJson(const BoundingInfo& bounds)
{
    return {{"extents", Numbers(bounds.m_extents, std::size(bounds.m_extents))},
            {"radius", Number(bounds.m_radius)}};
}

// The bits of the mask that are set.
Json UsedBones(const SkinFacts& skin)
{
    Json list = Json::array();
    for (std::size_t bone = 0; bone < skin.usedBones.size(); ++bone)
        if (skin.IsUsed(bone))
            list.push_back(bone);
    return list;
}

Json BonesJson(const vlMeshData& mesh, const SkinFacts& skin)
{
    Json list = Json::array();
    for (std::size_t i = 0; i < skin.boneNames.size(); ++i) {
        const std::uint16_t parent = mesh.m_boneParents[i];
        list.push_back({{"name", Shown(skin.boneNames[i])},
                        {"parent", parent == kNone ? Json() : Json(parent)},
                        {"used", skin.IsUsed(i)},
                        {"bounds", mesh.m_boneBounds ? BoundsJson(mesh.m_boneBounds.get()[i]) : Json()}});
    }
    return list;
}

Json SkinJson(const vlMeshData& mesh, const SkinFacts& skin)
{
    return {{"slots_per_vertex", kSlots},
            {"weight_sums", WeightSums(skin)},
            {"nan_weight_sums", skin.nanSums},
            {"vertices_by_influences", skin.byInfluences},
            {"bad_bone_references", skin.missingBones},
            {"mask_bits", skin.usedBones.size()},
            {"used_bones", UsedBones(skin)},
            {"bones", BonesJson(mesh, skin)}};
}

Json MorphJson(const vlMorphData& morph)
{
    return {{"mode", morph.m_morphMode},
            {"times", Numbers(morph.m_times.GetKeyTimes(), KeyCount(morph.m_times))}};
}

Json TracksJson(const vlMeshData& mesh)
{
    Json list = Json::array();
    for (std::uint32_t i = 0; mesh.m_tracks && i < mesh.m_submeshCount; ++i)
        list.push_back(TrackJson(mesh.m_tracks[i]));
    return list;
}

Json OriginalDataJson(const vlMeshData& mesh)
{
    Json list = Json::array();
    for (const auto& data : mesh.m_originalData)
        list.push_back({{"block_type", static_cast<std::uint32_t>(data->m_type)},
                        {"vertices", data->m_origVertexCount},
                        {"indices", data->m_origIndexCount},
                        {"extra", data->m_origExtraCount},
                        {"skin", data->m_origBones != nullptr}});
    return list;
}

Json MeshJson(const vlMeshData& mesh, const std::string& countSource)
{
    const vlMeshVertexData& vertices = *mesh.m_vertexData;
    const MeshFacts facts = GatherFacts(mesh);
    const Json box =
        facts.box ? Json{{"low", Vector(facts.box->low)}, {"high", Vector(facts.box->high)}} : Json();
    return {{"format_version", Hex(mesh.m_version)},
            {"pack_mode", mesh.m_packMode},
            {"skeleton_flag", mesh.m_skeletonFlag},
            {"submesh_count_source", countSource},
            {"vertices", vertices.m_vertexCount},
            {"triangles", vertices.m_triangleCount},
            {"frames", vertices.m_frameCount},
            {"tangents", vertices.m_tangents != nullptr},
            {"uv_sets", vertices.m_uvSetCount},
            {"colors", facts.hasColors},
            {"box", box},
            {"bad_indices", facts.badIndices},
            {"bytes_in_memory", facts.bytesInMemory},
            {"submeshes", SubmeshesJson(vertices)},
            {"skin", facts.skin ? SkinJson(mesh, *facts.skin) : Json()},
            {"morph", mesh.m_morph ? MorphJson(*mesh.m_morph) : Json()},
            {"tracks", TracksJson(mesh)},
            {"original_data", OriginalDataJson(mesh)}};
}

Json ManifestSubmeshes(const GimData& model)
{
    Json list = Json::array();
    for (const SubmeshMessage& submesh : model.m_submeshes)
        list.push_back({{"name", Shown(submesh.name)}, {"material", submesh.mtlIdx}});
    return list;
}

Json MaterialsJson(const GimData& model)
{
    Json list = Json::array();
    for (const MaterialMessage& material : model.m_materials) {
        const std::map<std::string, std::string> sorted(material.params.begin(), material.params.end());
        Json parameters = Json::object();
        for (const auto& [name, value] : sorted)
            parameters[Shown(name)] = Shown(value);
        list.push_back({{"name", Shown(material.name)}, {"parameters", parameters}});
    }
    return list;
}

Json SkeletonJson(const vlAnimData& anim)
{
    const std::vector<bool> moving = MovingBones(anim);
    Json list = Json::array();
    for (std::uint32_t bone = 0; bone < anim.m_boneCount; ++bone) {
        const vlTransInfo& place = anim.m_boneTrans[bone];
        const auto& q = place.m_rot;
        list.push_back({{"name", Shown(anim.m_boneNames[bone])},
                        {"position", Vector(place.m_pos)},
                        {"rotation", {Number(q.x), Number(q.y), Number(q.z), Number(q.w)}},
                        {"scale", Vector(place.m_scale)},
                        {"moves", static_cast<bool>(moving[bone])}});
    }
    return list;
}

Json ClipBones(const vlClipData& clip)
{
    Json list = Json::array();
    for (std::uint16_t bone = 0; bone < clip.m_boneCount; ++bone)
        list.push_back(
            {{"name", Shown(clip.m_boneNames[bone])}, {"moves", clip.m_keys && Moves(clip.m_keys[bone])}});
    return list;
}

Json TimesJson(unsigned char keyLayout)
{
    if (keyLayout == KEY_LAYOUT_SHARED)
        return "shared";
    return keyLayout == KEY_LAYOUT_PER_BONE ? Json("per_bone") : Json();
}

Json ClipJson(const vlClipData& clip, std::uint32_t version)
{
    constexpr const char* rotations[] = {"float", "half", "packed32", "packed48"};
    const KeyForm form = FormOf(clip, version);
    return {{"name", Shown(clip.m_name)},
            {"second_name", Shown(clip.m_name2)},
            {"length", Number(clip.m_length)},
            {"keys", clip.m_maxKeys},
            {"times", TimesJson(clip.m_keyLayout)},
            {"rotations", rotations[static_cast<int>(form.rotation)]},
            {"scales", form.isScaleHalf ? "half" : "float"},
            {"bytes_on_disk", BytesOnDisk(clip, version)},
            {"bytes_in_memory", BytesInMemory(clip)},
            {"bones", ClipBones(clip)}};
}

Json ClipsJson(const vlAnimData& anim)
{
    Json list = Json::array();
    for (const auto& clip : anim.m_clips)
        list.push_back(clip ? ClipJson(*clip, anim.m_version) : Json());
    return list;
}

}  // namespace

Json InfoLine(const std::string& path, const GimData& model)
{
    const std::string skeleton = model.GetSkeletonName();
    Json line = BeginLine("model");
    line["file"] = Shown(path);
    line["mesh_file"] = Shown(model.m_meshPath);
    line["skeleton"] = skeleton.empty() ? Json() : Json(Shown(skeleton));
    line["music"] = !model.m_musicXml.IsEmpty();
    line["submeshes"] = ManifestSubmeshes(model);
    line["materials"] = MaterialsJson(model);
    line["mesh"] = MeshJson(model.m_mesh, "as the manifest says");
    return line;
}

Json InfoLine(const std::string& path, const MeshFile& file)
{
    Json line = BeginLine("mesh");
    line["file"] = Shown(path);
    line["bytes"] = file.size;
    line["magic"] = HexBytes(file.magic);
    line["mesh"] = MeshJson(file.mesh, file.countSource);
    return line;
}

Json InfoLine(const std::string& path, const GisData& skeleton)
{
    const vlAnimData& anim = skeleton.m_anim;
    Json line = BeginLine("animation");
    line["file"] = Shown(path);
    line["format_version"] =
        std::to_string(anim.m_version >> 16) + "." + std::to_string(anim.m_version & 0xFFFF);
    line["side_files"] = anim.m_async != 0;
    line["document"] = !skeleton.m_agsXml.IsEmpty();
    line["bones"] = SkeletonJson(anim);
    line["clips"] = ClipsJson(anim);
    return line;
}

Json InfoLine(const std::string& path, const vlTrackData& track)
{
    Json line = BeginLine("track");
    line["file"] = Shown(path);
    line.update(TrackJson(track));
    return line;
}

}  // namespace vela::vlgim::tools
