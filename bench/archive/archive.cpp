#include "../Models.h"

#include <vlgim/GimData.h>
#include <vlgim/vlAnimData.h>
#include <vlgim/vlMeshData.h>

#include <tinyxml2.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

// Writes a folder of models like those of a studio: many small ones and a few large, one in a hundred of them damaged.
namespace vela::vlgim::bench {

namespace {

constexpr double kSmallest = 50e3, kLargest = 5e6;  // bytes
constexpr double kMean = 1e6;
constexpr unsigned kBytesPerVertex = 78;   // position, normal, tangent, four uv sets, colour, a triangle
constexpr unsigned kBytesPerSlots = 24;    // four bone references and weights
constexpr unsigned kMostVertices = 65535;  // as many as 16-bit indices name
constexpr unsigned kBytesPerClip = 45500;  // of 60 bones and 30 keys, in 48 bits and halves
constexpr std::uint16_t kBones = 60;

template <class T, class Value>
Array<T> Filled(std::size_t count, Value value)
{
    auto array = Array<T>(count);
    for (std::size_t i = 0; i < count; ++i)
        array[i] = value(i);
    return array;
}

// The index-th of so many sizes, which together have the mean.
double Size(unsigned index, unsigned count)
{
    const double exponent = (kLargest - kSmallest) / (kMean - kSmallest) - 1;
    return kSmallest + (kLargest - kSmallest) * std::pow((index + 0.5) / count, exponent);
}

void FillVertices(vlMeshVertexData& mesh, std::uint32_t count)
{
    using Vector3 = geomath::_Vector3<float>;
    const auto wave = [](std::size_t i) { return std::sin(static_cast<float>(i) * 0.37F); };
    const auto vector = [&](std::size_t i) { return Vector3{wave(i), wave(3 * i), wave(7 * i)}; };
    mesh.m_subCount = 1;
    mesh.m_vertexCount = count;
    mesh.m_triangleCount = count;
    mesh.m_uvSetCount = 4;
    mesh.m_colorSetCount = 1;
    mesh.m_subRecords =
        Filled<SubmeshRecord>(1, [&](std::size_t) { return SubmeshRecord{0, 0, count, count, 4, 1}; });
    mesh.m_positions = Filled<Vector3>(count, vector);
    mesh.m_normals = Filled<Vector3>(count, vector);
    mesh.m_tangents = Filled<Vector3>(count, vector);
    mesh.m_indices = Filled<std::uint16_t>(
        std::size_t{3} * count, [&](std::size_t i) { return static_cast<std::uint16_t>(i * 7 % count); });
    for (auto& set : mesh.m_uvSets)
        set = Filled<geomath::_Point2<float>>(count, [&](std::size_t i) {
            return geomath::_Point2<float>{wave(i), wave(5 * i)};
        });
    mesh.m_colors =
        Filled<std::uint32_t>(count, [](std::size_t i) { return static_cast<std::uint32_t>(i * 77777); });
}

// Two bones share each vertex.
void FillSkin(vlMeshData& mesh, vlMeshSkelVertexData& skin)
{
    const std::size_t slots = std::size_t{4} * skin.m_vertexCount;
    skin.m_boneIndices = Filled<std::uint16_t>(slots, [](std::size_t i) {
        return i % 4 < 2 ? static_cast<std::uint16_t>(i % kBones) : std::uint16_t{0xFFFF};
    });
    skin.m_boneWeights = Filled<float>(slots, [](std::size_t i) { return i % 4 < 2 ? 0.5F : 0.0F; });
    skin.m_usedBoneBits = kBones;
    mesh.m_boneCount = kBones;
    mesh.m_boneNames = Array<Name32>(kBones);
    mesh.m_boneMatrices = Array<geomath::_Matrix<float>>(kBones);
    for (std::uint16_t bone = 0; bone < kBones; ++bone) {
        mesh.m_boneParents.push_back(static_cast<std::uint16_t>(bone - 1));  // the first: 0xFFFF
        mesh.m_boneNames[bone] = Name32("bone" + std::to_string(bone));
    }
}

void SaveModel(const std::string& stem, std::uint32_t vertices, bool isSkinned)
{
    GimData model;
    model.m_meshPath = stem + ".mesh";
    const std::string manifest =
        "<Vela>\n\t<SubMesh>\n\t\t<a Name=\"body\" MtlIdx=\"0\"/>\n\t</SubMesh>\n</Vela>\n";
    const std::string materials =
        "<Vela><MaterialGroup><m><Material><ParamTable/></Material></m></MaterialGroup></Vela>\n";
    if (model.m_gimXml.Parse(manifest.data(), manifest.size()) != 0 ||
        model.m_mtgXml.Parse(materials.data(), materials.size()) != 0)
        std::abort();
    vlMeshData& mesh = model.m_mesh;
    mesh.m_submeshCount = 1;
    mesh.m_skeletonFlag = isSkinned ? 1 : 0;
    if (isSkinned) {
        auto skin = std::make_shared<vlMeshSkelVertexData>();
        FillVertices(*skin, vertices);
        FillSkin(mesh, *skin);
        mesh.m_vertexData = std::move(skin);
    } else {
        mesh.m_vertexData = std::make_shared<vlMeshVertexData>();
        FillVertices(*mesh.m_vertexData, vertices);
    }
    if (model.Save((stem + ".gim").c_str()) != 0)
        std::exit(1);
}

void SaveClips(const std::string& path, unsigned count)
{
    vlAnimData anim = Animation(count, KEY_PACKED_ROT48 | KEY_HALF_SCALE);
    if (anim.WriteAnimationFile(path.c_str()) != 0)
        std::exit(1);
}

// Half a file is left of it.
void Damage(const std::string& path)
{
    std::filesystem::resize_file(path, std::filesystem::file_size(path) / 2);
}

// Half of the models are static, a quarter each are skinned, and animations.
void Save(const std::string& stem, unsigned index, double size)
{
    const bool isAnimation = index % 4 == 3, isSkinned = index % 4 == 1;
    if (isAnimation)
        SaveClips(stem + ".gis", std::max(1U, static_cast<unsigned>(size / kBytesPerClip)));
    else
        SaveModel(stem,
                  std::min(kMostVertices, static_cast<unsigned>(
                                              size / (kBytesPerVertex + (isSkinned ? kBytesPerSlots : 0)))),
                  isSkinned);
    if (index % 100 == 50)
        Damage(stem + ".mesh");
}

}  // namespace

}  // namespace vela::vlgim::bench

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "Usage: vlgim_archive FOLDER COUNT\n");
        return 2;
    }
    const std::string folder = argv[1];
    const auto count = static_cast<unsigned>(std::strtoul(argv[2], nullptr, 10));
    std::filesystem::create_directories(folder);
    for (unsigned i = 0; i < count; ++i) {
        char name[16];
        std::snprintf(name, sizeof name, "/m%05u", i);
        // The sizes in another order than the names: a stride that has no divisor with the count.
        vela::vlgim::bench::Save(folder + name, i, vela::vlgim::bench::Size(i * 7919U % count, count));
    }
    return 0;
}
