#include "demo/MeshBuilder.h"
#include "demo/Models.h"
#include "demo/Parts.h"

#include <nameid/NameID.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numbers>

namespace vela::vlgim::tools {

namespace {

// The bones, by their indices.
constexpr std::uint16_t kHips = 0, kSpine = 1, kHead = 2, kArmL = 3, kForearmL = 4, kArmR = 5, kForearmR = 6,
                        kThighL = 7, kShinL = 8, kThighR = 9, kShinR = 10, kHat = 11, kBoneCount = 12,
                        kNoBone = 0xFFFF;

struct Bone {
    const char* name;      // in lower case
    std::uint16_t parent;  // index of the parent, which comes earlier; kNoBone for the root
    Vector3 position;      // from its parent, metres; no bone is turned against its parent
    float swing;           // radians to either side, when walking
};
constexpr Bone kBones[kBoneCount] = {
    {"hips", kNoBone, {0, 0.95F, 0}, 0.05F},     {"spine", kHips, {0, 0.2F, 0}, 0.08F},
    {"head", kSpine, {0, 0.45F, 0}, 0},          {"arm_l", kSpine, {0.2F, 0.4F, 0}, 0.5F},
    {"forearm_l", kArmL, {0, -0.3F, 0}, 0.25F},  {"arm_r", kSpine, {-0.2F, 0.4F, 0}, -0.5F},
    {"forearm_r", kArmR, {0, -0.3F, 0}, -0.25F}, {"thigh_l", kHips, {0.1F, -0.05F, 0}, -0.6F},
    {"shin_l", kThighL, {0, -0.45F, 0}, -0.4F},  {"thigh_r", kHips, {-0.1F, -0.05F, 0}, 0.6F},
    {"shin_r", kThighR, {0, -0.45F, 0}, 0.4F},   {"hat", kHead, {0, 0.2F, 0}, 0},
};

// Position and scale stand once for all keys, and so does the rotation of a bone that does not swing.
vlTransKeysData Channel(const Bone& bone, unsigned short keyCount, float swing)
{
    vlTransKeysData channel = RestingChannel(keyCount, false, swing != 0.0F);
    channel.m_pos[0] = bone.position.x;
    channel.m_pos[1] = bone.position.y;
    channel.m_pos[2] = bone.position.z;
    float* key = channel.m_rot.get();
    for (unsigned i = 0; channel.m_rotKeyed && i < keyCount; ++i, key += 4) {
        const float phase =
            2 * std::numbers::pi_v<float> * static_cast<float>(i) / static_cast<float>(keyCount);
        const float half = swing * std::sin(phase) / 2;
        key[0] = std::sin(half);  // about the x axis
        key[3] = std::cos(half);
    }
    return channel;
}

// Of a clip and of the skeleton.
template <class Bones>
void NameBones(Bones& bones)
{
    bones.m_boneCount = kBoneCount;
    bones.m_boneNames = Array<Name32>(kBoneCount);
    for (std::uint16_t i = 0; i < kBoneCount; ++i) {
        bones.m_boneNames[i] = Name32(kBones[i].name);
        bones.m_boneNameIds[i] = NameIDMurmur3(kBones[i].name);
    }
}

std::shared_ptr<vlClipData> NewClip(const char* name, unsigned char layout, unsigned char form)
{
    auto clip = std::make_shared<vlClipData>();
    NameBones(*clip);
    clip->m_name = Name32(name);
    clip->m_keys = Array<vlTransKeysData>(kBoneCount);
    clip->m_keyLayout = layout;
    clip->m_compressFlags = form;
    return clip;
}

std::shared_ptr<vlClipData> SharedTimesClip(const char* name, unsigned char form, unsigned short keyCount,
                                            float swing)
{
    auto clip = NewClip(name, KEY_LAYOUT_SHARED, form);
    clip->m_keyTimes = std::make_shared<vlKeyTimes>();
    clip->m_keyTimes->SetKeyTimes(keyCount, keyCount - 1U);
    clip->m_maxKeys = keyCount;
    clip->m_length = static_cast<float>(clip->m_keyTimes->GetLength());
    for (std::uint16_t i = 0; i < kBoneCount; ++i)
        clip->m_keys[i] = Channel(kBones[i], keyCount, swing * kBones[i].swing);
    return clip;
}

// Only the right arm moves; every other bone has a single key.
std::shared_ptr<vlClipData> WaveClip()
{
    auto clip = NewClip("wave", KEY_LAYOUT_PER_BONE, KEY_HALF_ROT | KEY_HALF_SCALE);
    for (std::uint16_t i = 0; i < kBoneCount; ++i) {
        const bool waves = i == kArmR || i == kForearmR;
        const unsigned short keyCount = waves ? 24 : 1;
        clip->m_boneKeyCounts[i] = keyCount;
        clip->m_boneKeyTimes[i] = Array<float>(keyCount);
        for (unsigned short key = 0; key < keyCount; ++key)
            clip->m_boneKeyTimes[i][key] = static_cast<float>(key) * 1.5F;
        clip->m_keys[i] = Channel(kBones[i], keyCount, waves ? 1.2F : 0.0F);
    }
    clip->m_maxKeys = 24;
    clip->m_length = 34.5F;
    return clip;
}

constexpr std::uint32_t kSlots = 4;  // bone references a vertex

// A box that moves with a bone. Its upper or lower corners may share the motion with a neighbour.
struct Limb {
    int submesh;
    std::uint16_t bone, above, below;
    Vector3 low, high;  // from the bone, metres
};

constexpr Vector3 kArmLow{-0.05F, -0.3F, -0.05F}, kArmHigh{0.05F, 0, 0.05F};
constexpr Vector3 kLegLow{-0.08F, -0.45F, -0.08F}, kLegHigh{0.08F, 0, 0.08F};
constexpr Limb kLimbs[] = {
    {0, kSpine, kNoBone, kHips, {-0.15F, 0, -0.09F}, {0.15F, 0.42F, 0.09F}},
    {0, kArmL, kSpine, kForearmL, kArmLow, kArmHigh},
    {0, kForearmL, kArmL, kNoBone, kArmLow, kArmHigh},
    {0, kArmR, kSpine, kForearmR, kArmLow, kArmHigh},
    {0, kForearmR, kArmR, kNoBone, kArmLow, kArmHigh},
    {1, kHips, kSpine, kNoBone, {-0.15F, -0.08F, -0.09F}, {0.15F, 0.2F, 0.09F}},
    {1, kThighL, kHips, kShinL, kLegLow, kLegHigh},
    {1, kShinL, kThighL, kNoBone, kLegLow, kLegHigh},
    {1, kThighR, kHips, kShinR, kLegLow, kLegHigh},
    {1, kShinR, kThighR, kNoBone, kLegLow, kLegHigh},
    {2, kHead, kNoBone, kSpine, {-0.09F, -0.03F, -0.09F}, {0.09F, 0.2F, 0.09F}},
    {2, kHat, kNoBone, kNoBone, {-0.14F, 0, -0.14F}, {0.14F, 0.02F, 0.14F}},      // brim
    {2, kHat, kNoBone, kNoBone, {-0.08F, 0.02F, -0.08F}, {0.08F, 0.17F, 0.08F}},  // crown
};

// Of a bone in the model, as the mesh was built.
Vector3 Origin(std::uint16_t bone)
{
    return bone == kNoBone ? Vector3{0, 0, 0} : Origin(kBones[bone].parent) + kBones[bone].position;
}

void BuildVertices(vlMeshData& mesh, const std::shared_ptr<vlMeshVertexData>& vertices)
{
    MeshBuilder body;
    int begun = 0;
    for (const Limb& limb : kLimbs) {
        if (limb.submesh == begun) {
            body.BeginSubmesh(1, false);
            ++begun;
        }
        const Vector3 low = Origin(limb.bone) + limb.low, high = Origin(limb.bone) + limb.high;
        body.Box(low, high);
        body.Face({low, {high.x, low.y, low.z}, {high.x, low.y, high.z}, {low.x, low.y, high.z}});
    }
    body.Fill(mesh, vertices);
}

// One bone, or two that share a vertex evenly; the other slots are empty.
void BuildSkin(vlMeshSkelVertexData& mesh)
{
    const std::size_t slots = std::size_t{kSlots} * mesh.m_vertexCount;
    mesh.m_boneIndices = Array<std::uint16_t>(slots, kNoBone);
    mesh.m_boneWeights = Array<float>(slots);
    mesh.m_usedBoneBits = kBoneCount;
    const std::size_t perLimb = mesh.m_vertexCount / std::size(kLimbs);
    for (std::size_t v = 0; v < mesh.m_vertexCount; ++v) {
        const Limb& limb = kLimbs[v / perLimb];
        const bool isUpper = mesh.m_positions.get()[v].y == Origin(limb.bone).y + limb.high.y;
        const std::uint16_t neighbour = isUpper ? limb.above : limb.below;
        std::uint16_t* references = mesh.m_boneIndices.get() + v * kSlots;
        float* weights = mesh.m_boneWeights.get() + v * kSlots;
        references[0] = limb.bone;
        references[1] = neighbour;
        weights[0] = neighbour == kNoBone ? 1.0F : 0.5F;
        weights[1] = 1 - weights[0];
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
    mesh.m_boneCount = kBoneCount;
    mesh.m_boneNames = Array<Name32>(kBoneCount);
    mesh.m_boneBounds = Array<BoundingInfo>(kBoneCount);
    mesh.m_boneMatrices = Array<geomath::_Matrix<float>>(kBoneCount);
    for (std::uint16_t i = 0; i < kBoneCount; ++i) {
        const Vector3 origin = Origin(i);
        mesh.m_boneParents.push_back(kBones[i].parent);
        mesh.m_boneNames[i] = Name32(kBones[i].name);
        mesh.m_boneNameIds.push_back(NameIDMurmur3(kBones[i].name));
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

void BuildWalker(GisData& skeleton)
{
    vlAnimData& anim = skeleton.m_anim;
    anim.m_version = 0x60001;
    NameBones(anim);
    anim.m_boneTrans = Array<vlTransInfo>(kBoneCount);
    for (std::uint16_t i = 0; i < kBoneCount; ++i)
        anim.m_boneTrans[i] = {kBones[i].position, {0, 0, 0, 1}, {1, 1, 1}};
    anim.m_clips = {SharedTimesClip("walk", KEY_PACKED_ROT32 | KEY_HALF_SCALE, 32, 1), WaveClip(),
                    SharedTimesClip("idle", 0, 60, 0.1F)};

    Append(Append(&skeleton.m_agsXml.Document(), "Vela"), "AnimGroup", {{"Default", "idle"}});
}

void BuildWalkerBody(GimData& model)
{
    vlMeshData& mesh = model.m_mesh;
    const auto skin = std::make_shared<vlMeshSkelVertexData>();
    BuildVertices(mesh, skin);
    BuildSkin(*skin);
    mesh.m_skeletonFlag = 1;
    mesh.m_skelVertexBlocks = 1;
    BuildBones(mesh, *skin);
    mesh.m_originalData = {Welded(*skin)};

    tinyxml2::XMLElement* manifest =
        BuildDocuments(model,
                       {{"shirt", "cotton", {{"Color", "0.85,0.8,0.7"}, {"Roughness", "0.9"}}},
                        {"trousers", "denim", {{"Color", "0.2,0.25,0.45"}, {"Roughness", "0.8"}}},
                        {"head", "straw", {{"Color", "0.8,0.65,0.35"}, {"Roughness", "1"}}}},
                       "footsteps", "0.5");
    Append(Append(manifest, "SkeletonFile"), "FileName", {{"Value", "walker.gis"}});
}

}  // namespace vela::vlgim::tools
