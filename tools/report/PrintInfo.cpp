#include "report/Info.h"
#include "report/Print.h"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

namespace vela::vlgim::tools {

namespace {

std::string Digits(const char* format, const Json& number)
{
    char text[32];
    // Of the float itself: rounding its shortest digits once more can give others.
    std::snprintf(text, sizeof text, format, static_cast<double>(number.get<float>()));
    return text;
}

// As people read it: a list as the number of its elements.
std::string Text(const Json& value)
{
    if (value.is_null())
        return "none";
    if (value.is_array())
        return std::to_string(value.size());
    if (value.is_boolean())
        return value.get<bool>() ? "yes" : "no";
    if (value.is_number_float())
        return Digits("%g", value);
    return value.is_string() ? value.get<std::string>() : value.dump();
}

std::string Vector(const Json& vector)
{
    return "(" + Text(vector[0]) + ", " + Text(vector[1]) + ", " + Text(vector[2]) + ")";
}

// A line of an account: a label and a value of several parts, aligned.
void Row(const char* label, std::initializer_list<Json> parts)
{
    std::printf("  %-12s", label);
    for (const Json& part : parts)
        std::printf("%s", Text(part).c_str());
    std::printf("\n");
}

// What a column shows of an element of the list; null: nothing.
using Value = std::function<Json(const Json&)>;

Value Plain(const char* key)
{
    return [key](const Json& element) { return element[key]; };
}

Value Large(const char* key)
{
    return [key](const Json& element) { return Grouped(element[key]); };
}

struct Column {
    const char* title;
    int width;  // negative: aligned to the left
    Value value;
};

// A row for each element of the list, numbered; a missing one has the note in place of values.
void PrintTable(const Json& list, const std::vector<Column>& columns, const char* note = "")
{
    std::printf("\n  %4s", "#");
    for (const Column& column : columns)
        std::printf("  %*s", column.width, column.title);
    for (std::size_t i = 0; i < list.size(); ++i) {
        std::printf("\n  %4zu", i);
        if (list[i].is_null())
            std::printf("  %s", note);
        for (const Column& column : columns)
            if (const Json value = list[i].is_null() ? Json() : column.value(list[i]); !value.is_null())
                std::printf("  %*s", column.width, Text(value).c_str());
    }
    std::printf("\n");
}

std::string Kind(unsigned skeletonFlag)
{
    if (skeletonFlag == 0)
        return "static mesh";
    return skeletonFlag == 1 ? "skinned mesh"
                             : "skinned mesh without bones, flag " + std::to_string(skeletonFlag);
}

std::string Attributes(const Json& mesh)
{
    std::string text = mesh["tangents"] ? "positions, normals, tangents" : "positions, normals";
    if (mesh["uv_sets"] != 0)
        text += ", " + Counted(mesh["uv_sets"], "uv set", "uv sets");
    return mesh["colors"] ? text + ", colours" : text;
}

Value Range(const char* first, const char* count)
{
    return [=](const Json& submesh) {
        const std::uint64_t begin = submesh[first], size = submesh[count];
        return size == 0 ? "none" : Grouped(begin) + " to " + Grouped(begin + size - 1);
    };
}

// names  of the submeshes, as the manifest has them; may be fewer
void PrintSubmeshes(Json submeshes, const Json& names)
{
    std::size_t width = 4;
    for (const Json& submesh : names)
        width = std::max(width, Text(submesh["name"]).size());
    for (std::size_t i = 0; i < submeshes.size(); ++i)
        submeshes[i]["name"] = i < names.size() ? names[i]["name"] : "-";
    PrintTable(submeshes, {{"name", -static_cast<int>(width), Plain("name")},
                           {"vertices", 21, Range("first_vertex", "vertices")},
                           {"triangles", 21, Range("first_triangle", "triangles")},
                           {"uv sets", 7, Plain("uv_sets")},
                           {"colours", 7, Plain("colors")}});
}

void PrintWeights(const Json& skin)
{
    const Json &sums = skin["weight_sums"], &vertices = skin["vertices_by_influences"];
    Row("weights",
        {skin["slots_per_vertex"], " a vertex, ",
         sums.is_null() ? "no sums" : "sums " + Text(sums["lowest"]) + " to " + Text(sums["highest"])});
    std::string influences;
    for (std::size_t i = 0; i < vertices.size(); ++i)
        if (vertices[i] != 0)
            influences +=
                (influences.empty() ? "" : ", ") + Grouped(vertices[i]) + " with " + std::to_string(i);
    Row("influences", {influences.empty() ? "none" : influences});
    if (skin["nan_weight_sums"] != 0)
        Row("bad weights", {"sums that are not a number: ", Grouped(skin["nan_weight_sums"])});
    if (skin["bad_bone_references"] != 0)
        Row("bad bones",
            {"references to a bone that does not exist: ", Grouped(skin["bad_bone_references"])});
}

std::string Root(const Json& bones)
{
    std::string root = "no root";
    for (const Json& bone : bones)
        if (bone["parent"].is_null())
            root = root == "no root" ? "root " + Text(bone["name"]) : "several roots";
    return root;
}

void PrintBones(const Json& skin)
{
    const Json& bones = skin["bones"];
    Row("used bones", {skin["used_bones"], ", in a mask of ", skin["mask_bits"]});
    if (bones.empty())
        return Row("bones", {"none"});
    const bool hasBounds = !bones[0]["bounds"].is_null();
    Row("bones", {bones, ", ", Root(bones), hasBounds ? ", with bounds" : ", without bounds"});
    const auto parent = [&bones](const Json& bone) {
        const Json& index = bone["parent"];
        if (index.is_null())
            return std::string("-");
        return index < bones.size() ? Text(bones[index.get<std::size_t>()]["name"])
                                    : Text(index) + ", which does not exist";
    };
    const auto radius = [hasBounds](const Json& bone) {
        return hasBounds ? Json(Digits("%.3g", bone["bounds"]["radius"])) : Json();
    };
    PrintTable(bones, {{"bone", -20, Plain("name")},
                       {"parent", -20, parent},
                       {"used", 4, Plain("used")},
                       {"radius", 7, radius}});
}

void PrintMorph(const Json& morph, const Json& frames)
{
    constexpr std::size_t shown = 8;
    const Json& times = morph["times"];
    std::string text;
    for (std::size_t key = 0; key < std::min(times.size(), shown); ++key)
        text += " " + Text(times[key]);
    std::printf("\n");
    Row("morph", {"mode ", morph["mode"], ", frames ", frames});
    Row("keys", {times, ", at", text, times.size() > shown ? " ..." : ""});
}

bool Moves(const Json& channel)
{
    return channel["position_keyed"] || channel["rotation_keyed"] || channel["scale_keyed"];
}

std::string MovingChannels(const Json& track)
{
    return std::to_string(std::count_if(track["channels"].begin(), track["channels"].end(), Moves));
}

void PrintMesh(const Json& mesh, const Json& names)
{
    const Json &box = mesh["box"], &skin = mesh["skin"], &morph = mesh["morph"];
    Row("version", {mesh["format_version"], ", pack mode ", mesh["pack_mode"]});
    Row("kind", {Kind(mesh["skeleton_flag"])});
    Row("submeshes", {mesh["submeshes"], ", ", mesh["submesh_count_source"]});
    Row("vertices", {Grouped(mesh["vertices"])});
    Row("triangles", {Grouped(mesh["triangles"])});
    Row("attributes", {Attributes(mesh)});
    Row("box", {box.is_null() ? "empty" : Vector(box["low"]) + " to " + Vector(box["high"])});
    if (mesh["bad_indices"] != 0)
        Row("bad indices", {"beyond the last vertex: ", Grouped(mesh["bad_indices"])});
    Row("in memory", {Grouped(mesh["bytes_in_memory"]), " bytes"});
    PrintSubmeshes(mesh["submeshes"], names);
    if (!skin.is_null()) {
        std::printf("\n");
        PrintWeights(skin);
        PrintBones(skin);
    }
    if (!morph.is_null())
        PrintMorph(morph, mesh["frames"]);
    if (!mesh["tracks"].empty())
        PrintTable(mesh["tracks"], {{"track", -16, Plain("name")},
                                    {"keys", 5, Plain("keys")},
                                    {"length", 8, Plain("length")},
                                    {"channels", 8, Plain("channels")},
                                    {"moving", 6, MovingChannels}});
    if (!mesh["original_data"].empty())
        PrintTable(
            mesh["original_data"],
            {{"original data", -16, [](const Json& data) { return "type " + Text(data["block_type"]); }},
             {"vertices", 10, Large("vertices")},
             {"indices", 10, Large("indices")},
             {"extra", 10, Large("extra")},
             {"skin", 4, Plain("skin")}});
}

void PrintMaterials(const Json& materials)
{
    std::printf("\n  %4s  %s\n", "#", "material");
    for (std::size_t i = 0; i < materials.size(); ++i) {
        std::printf("  %4zu  %s\n", i, Text(materials[i]["name"]).c_str());
        std::size_t width = 0;
        for (const auto& [name, value] : materials[i]["parameters"].items())
            width = std::max(width, name.size());
        for (const auto& [name, value] : materials[i]["parameters"].items())
            std::printf("          %-*s  %s\n", static_cast<int>(width), name.c_str(), Text(value).c_str());
    }
}

void PrintModel(const Json& model)
{
    const Json& materials = model["materials"];
    Row("mesh", {model["mesh_file"]});
    Row("skeleton", {model["skeleton"]});
    Row("materials", {materials});
    Row("music", {model["music"] ? "yes" : "none"});
    PrintTable(model["submeshes"], {{"submesh and its material", 0, [&materials](const Json& submesh) {
                                         const auto index = submesh["material"].get<std::size_t>();
                                         const std::string material =
                                             index < materials.size() ? Text(materials[index]["name"]) : "";
                                         return Text(submesh["name"]) + ": " + Text(submesh["material"]) +
                                                (material.empty() ? "" : " ") + material;
                                     }}});
    PrintMaterials(materials);
    std::printf("\n%s\n", Text(model["mesh_file"]).c_str());
    PrintMesh(model["mesh"], model["submeshes"]);
}

// The reader passes over the magic word, so a wrong one is worth a word.
void PrintMeshFile(const Json& file)
{
    Row("file", {Grouped(file["bytes"]), " bytes"});
    Row("magic", {file["magic"], file["magic"] == "34 80 C8 BB" ? "" : ", not that of a mesh"});
    PrintMesh(file["mesh"], Json::array());
}

std::string ClipTimes(const Json& clip)
{
    return clip["times"] == "per_bone" ? "per bone" : Text(clip["times"]);
}

std::string ClipRotations(const Json& clip)
{
    static const Json forms{
        {"float", "floats"}, {"half", "halves"}, {"packed32", "32 bits"}, {"packed48", "48 bits"}};
    const std::string form = forms[clip["rotations"].get<std::string>()];
    return clip["scales"] == "half" ? form + ", scales halves" : form;
}

void PrintAnimation(const Json& anim)
{
    const Json& bones = anim["bones"];
    Row("version", {anim["format_version"]});
    Row("clips", {anim["clips"], anim["side_files"] ? ", in side files" : ", in the file"});
    Row("document", {anim["document"] ? "yes" : "none"});
    Row("bones", {bones});
    for (std::size_t bone = 0; bone < bones.size(); ++bone)
        std::printf("      %3zu  %-20s  %s%s\n", bone, Text(bones[bone]["name"]).c_str(),
                    Vector(bones[bone]["position"]).c_str(), bones[bone]["moves"] ? "" : "  never moves");
    PrintTable(anim["clips"],
               {{"clip", -16, Plain("name")},
                {"length", 8, Plain("length")},
                {"keys", 5, Plain("keys")},
                {"bones", 5, Plain("bones")},
                {"times", -8, ClipTimes},
                {"rotations", -24, ClipRotations},
                {"on disk", 10, Large("bytes_on_disk")},
                {"in memory", 10, Large("bytes_in_memory")}},
               "(its side file is missing)");
}

void PrintTrack(const Json& track)
{
    const Json& channels = track["channels"];
    Row("version", {track["format_version"]});
    Row("name", {track["name"]});
    Row("keys", {track["keys"], ", length ", track["length"]});
    Row("channels", {channels});
    for (std::size_t i = 0; i < channels.size(); ++i)
        std::printf("      %3zu  %s\n", i, Moves(channels[i]) ? "moves" : "never moves");
    Row("in memory", {Grouped(track["bytes_in_memory"]), " bytes"});
}

}  // namespace

void PrintInfo(const Json& info)
{
    std::printf("%s\n", Text(info["file"]).c_str());
    const Json& type = info["type"];
    if (type == "model")
        PrintModel(info);
    else if (type == "mesh")
        PrintMeshFile(info);
    else
        type == "animation" ? PrintAnimation(info) : PrintTrack(info);
}

}  // namespace vela::vlgim::tools
