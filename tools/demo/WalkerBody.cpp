#include "demo/MeshBuilder.h"
#include "demo/Parts.h"
#include "demo/Walker.h"

#include <nameid/NameID.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>

namespace vela::vlgim::tools {

namespace {

constexpr std::uint16_t kNoBone = 0xFFFF;
constexpr std::uint32_t kSlots = 4;  // bone references a vertex

// A box that moves with a bone. Its upper or lower corners may share the motion with a neighbour.
struct Limb {
    const char* submesh;
    const char* bone;
    const char* above;  // or null
    const char* below;  // or null
    Vector3 low, high;  // from the bone, metres
};

constexpr Vector3 kArmLow{-0.05F, -0.3F, -0.05F}, kArmHigh{0.05F, 0, 0.05F};
constexpr Vector3 kLegLow{-0.08F, -0.45F, -0.08F}, kLegHigh{0.08F, 0, 0.08F};
constexpr Limb kLimbs[] = {
    {"shirt", "spine", nullptr, "hips", {-0.15F, 0, -0.09F}, {0.15F, 0.42F, 0.09F}},
    {"shirt", "arm_l", "spine", "forearm_l", kArmLow, kArmHigh},
    {"shirt", "forearm_l", "arm_l", nullptr, kArmLow, kArmHigh},
    {"shirt", "arm_r", "spine", "forearm_r", kArmLow, kArmHigh},
    {"shirt", "forearm_r", "arm_r", nullptr, kArmLow, kArmHigh},
    {"trousers", "hips", "spine", nullptr, {-0.15F, -0.08F, -0.09F}, {0.15F, 0.2F, 0.09F}},
    {"trousers", "thigh_l", "hips", "shin_l", kLegLow, kLegHigh},
    {"trousers", "shin_l", "thigh_l", nullptr, kLegLow, kLegHigh},
    {"trousers", "thigh_r", "hips", "shin_r", kLegLow, kLegHigh},
    {"trousers", "shin_r", "thigh_r", nullptr, kLegLow, kLegHigh},
    {"head", "head", nullptr, "spine", {-0.09F, -0.03F, -0.09F}, {0.09F, 0.2F, 0.09F}},
    {"head", "hat", nullptr, nullptr, {-0.14F, 0, -0.14F}, {0.14F, 0.02F, 0.14F}},      // brim
    {"head", "hat", nullptr, nullptr, {-0.08F, 0.02F, -0.08F}, {0.08F, 0.17F, 0.08F}},  // crown
};

std::uint16_t BoneIndex(const char* name)
{
    const auto bones = WalkerBones();
    const auto bone = std::find_if(bones.begin(), bones.end(),
                                   [name](const Bone& b) { return std::strcmp(b.name, name) == 0; });
    return static_cast<std::uint16_t>(bone - bones.begin());
}

// Of a bone in the model, as the mesh was built.
Vector3 Origin(int bone)
{
    if (bone < 0)
        return {0, 0, 0};
    const Bone& b = WalkerBones()[static_cast<std::size_t>(bone)];
    return Origin(b.parent) + b.position;
}

void BuildVertices(vlMeshVertexData& mesh)
{
    MeshBuilder body;
    const char* submesh = "";
    for (const Limb& limb : kLimbs) {
        if (std::strcmp(submesh, limb.submesh) != 0)
            body.BeginSubmesh(1, false);
        submesh = limb.submesh;
        const Vector3 origin = Origin(BoneIndex(limb.bone));
        const Vector3 low = origin + limb.low, high = origin + limb.high;
        body.Box(low, high);
        body.Face({low, {high.x, low.y, low.z}, {high.x, low.y, high.z}, {low.x, low.y, high.z}});
    }
    body.Fill(mesh);
}

// One bone, or two that share a vertex evenly; the other slots are empty.
void BuildSkin(vlMeshSkelVertexData& mesh)
{
    const std::size_t slots = std::size_t{kSlots} * mesh.m_vertexCount;
    mesh.m_boneIndices = Array<std::uint16_t>(slots, kNoBone);
    mesh.m_boneWeights = Array<float>(slots);
    mesh.m_usedBoneBits = static_cast<std::uint32_t>(WalkerBones().size());
    const std::size_t perLimb = mesh.m_vertexCount / std::size(kLimbs);
    for (std::size_t v = 0; v < mesh.m_vertexCount; ++v) {
        const Limb& limb = kLimbs[v / perLimb];
        const std::uint16_t bone = BoneIndex(limb.bone);
        const bool isUpper = mesh.m_positions.get()[v].y == Origin(bone).y + limb.high.y;
        const char* neighbour = isUpper ? limb.above : limb.below;
        std::uint16_t* references = mesh.m_boneIndices.get() + v * kSlots;
        float* weights = mesh.m_boneWeights.get() + v * kSlots;
        references[0] = bone;
        weights[0] = neighbour ? 0.5F : 1.0F;
        if (neighbour) {
            references[1] = BoneIndex(neighbour);
            weights[1] = 0.5F;
        }
    }
}

// A box and a ball around what the bone moves, from the bone's own origin.
BoundingInfo Bounds(const vlMeshSkelVertexData& mesh, std::uint16_t bone)
{
    Vector3 low{0, 0, 0}, high{0, 0, 0};
    float radius = 0;
    for (std::size_t slot = 0; slot < std::size_t{kSlots} * mesh.m_vertexCount; ++slot) {
        if (mesh.m_boneIndices.get()[slot] != bone)
            continue;
        const Vector3 p = mesh.m_positions.get()[slot / kSlots] - Origin(bone);
        low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
        high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
        radius = std::max(radius, std::sqrt(p.x * p.x + p.y * p.y + p.z * p.z));
    }
    return {{low.x, low.y, low.z, high.x, high.y, high.z}, radius};
}

// The matrix leads from the model to the bone: row vectors, row by row, the translation in the last row. No bone is
// turned, so it takes the bone's origin away and does nothing else.
void BuildBones(vlMeshData& mesh, const vlMeshSkelVertexData& skin)
{
    const auto bones = WalkerBones();
    mesh.m_boneCount = static_cast<std::uint16_t>(bones.size());
    mesh.m_boneNames = Array<Name32>(bones.size());
    mesh.m_boneBounds = Array<BoundingInfo>(bones.size());
    mesh.m_boneMatrices = Array<geomath::_Matrix<float>>(bones.size());
    for (std::uint16_t i = 0; i < mesh.m_boneCount; ++i) {
        const Vector3 origin = Origin(i);
        mesh.m_boneParents.push_back(static_cast<std::uint16_t>(bones[i].parent));  // -1 is 0xFFFF
        mesh.m_boneNames[i] = Name32(bones[i].name);
        mesh.m_boneNameIds.push_back(NameIDMurmur3(bones[i].name));
        mesh.m_boneBounds[i] = Bounds(skin, i);
        mesh.m_boneMatrices[i] = {
            {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {-origin.x, -origin.y, -origin.z, 1}}};
    }
}

// The mesh before its faces were split: each corner once, triangles of corners, and as extra values the corner of
// each vertex.
std::shared_ptr<vlOriginalData> Welded(const vlMeshSkelVertexData& mesh)
{
    std::vector<Vector3> corners;
    std::vector<std::uint32_t> cornerOf;
    std::vector<unsigned char> bones;
    std::vector<float> weights;
    for (std::size_t v = 0; v < mesh.m_vertexCount; ++v) {
        const Vector3 p = mesh.m_positions.get()[v];
        const auto same = std::find_if(corners.begin(), corners.end(), [p](const Vector3& c) {
            return c.x == p.x && c.y == p.y && c.z == p.z;
        });
        cornerOf.push_back(static_cast<std::uint32_t>(same - corners.begin()));
        if (same != corners.end())
            continue;
        corners.push_back(p);
        for (std::size_t slot = v * kSlots; slot < (v + 1) * kSlots; ++slot) {
            bones.push_back(static_cast<unsigned char>(mesh.m_boneIndices.get()[slot]));  // no bone: 255
            weights.push_back(mesh.m_boneWeights.get()[slot]);
        }
    }
    std::vector<std::uint16_t> indices;
    for (std::size_t i = 0; i < std::size_t{3} * mesh.m_triangleCount; ++i)
        indices.push_back(static_cast<std::uint16_t>(cornerOf[mesh.m_indices.get()[i]]));

    auto original = std::make_shared<vlOriginalData>();
    original->m_type = MESH_DATA_ORIGINAL;
    original->m_origVertexCount = static_cast<std::uint32_t>(corners.size());
    original->m_origIndexCount = static_cast<std::uint32_t>(indices.size());
    original->m_origExtraCount = static_cast<std::uint32_t>(cornerOf.size());
    original->m_origPositions = corners;
    original->m_origIndices = indices;
    original->m_origExtra = cornerOf;
    original->m_origBones = bones;
    original->m_origWeights = weights;
    return original;
}

}  // namespace

void BuildWalkerBody(GimData& model)
{
    auto skin = std::make_shared<vlMeshSkelVertexData>();
    BuildVertices(*skin);
    BuildSkin(*skin);

    vlMeshData& mesh = model.m_mesh;
    mesh.m_submeshCount = skin->m_subCount;
    mesh.m_skeletonFlag = 1;
    mesh.m_skelVertexBlocks = 1;
    mesh.m_vertexData = skin;
    BuildBones(mesh, *skin);
    mesh.m_originalData = {Welded(*skin)};

    tinyxml2::XMLElement* manifest = BuildManifest(model, {"shirt", "trousers", "head"});
    Append(Append(manifest, "SkeletonFile"), "FileName", {{"Value", "walker.gis"}});
    AppendMaterial(model, "cotton", {{"Color", "0.85,0.8,0.7"}, {"Roughness", "0.9"}});
    AppendMaterial(model, "denim", {{"Color", "0.2,0.25,0.45"}, {"Roughness", "0.8"}});
    AppendMaterial(model, "straw", {{"Color", "0.8,0.65,0.35"}, {"Roughness", "1"}});
    BuildMusic(model, "footsteps", "0.5");
}

}  // namespace vela::vlgim::tools
