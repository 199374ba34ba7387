#include "Walker.h"

#include <nameid/NameID.h>
#include <tinyxml2.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <initializer_list>
#include <iterator>
#include <numbers>

namespace vela::vlgim::tools {

namespace {

struct Bone {
    const char* name;
    float x, y, z;  // from its parent, metres
    float swing;    // radians to either side, when walking
};

constexpr Bone kBones[] = {
    {"hips", 0, 0.95F, 0, 0.05F},       {"spine", 0, 0.2F, 0, 0.08F},
    {"head", 0, 0.45F, 0, 0},           {"arm_l", 0.2F, 0.4F, 0, 0.5F},
    {"forearm_l", 0, -0.3F, 0, 0.25F},  {"arm_r", -0.2F, 0.4F, 0, -0.5F},
    {"forearm_r", 0, -0.3F, 0, -0.25F}, {"thigh_l", 0.1F, -0.05F, 0, -0.6F},
    {"shin_l", 0, -0.45F, 0, -0.4F},    {"thigh_r", -0.1F, -0.05F, 0, 0.6F},
    {"shin_r", 0, -0.45F, 0, 0.4F},     {"hat", 0, 0.2F, 0, 0},
};
constexpr auto kBoneCount = static_cast<std::uint16_t>(std::size(kBones));

void SetName(char (&field)[32], const char* name)
{
    std::strncpy(field, name, sizeof field - 1);
}

// Position and scale stand once for all keys, and so does the rotation of a bone that does not swing.
vlTransKeysData Channel(const Bone& bone, unsigned short keyCount, float swing)
{
    vlTransKeysData channel;
    channel.m_keyCount = keyCount;
    channel.m_rotKeyed = swing != 0.0F;
    channel.m_pos = std::make_shared<float[]>(3);
    channel.m_pos[0] = bone.x;
    channel.m_pos[1] = bone.y;
    channel.m_pos[2] = bone.z;
    channel.m_scale = std::make_shared<float[]>(3, 1.0F);
    const unsigned rotations = channel.m_rotKeyed ? keyCount : 1;
    channel.m_rot = std::make_shared<float[]>(std::size_t{rotations} * 4);
    float* key = channel.m_rot.get();
    for (unsigned i = 0; i < rotations; ++i, key += 4) {
        const float phase =
            2 * std::numbers::pi_v<float> * static_cast<float>(i) / static_cast<float>(keyCount);
        const float half = swing * std::sin(phase) / 2;
        key[0] = std::sin(half);  // about the x axis
        key[3] = std::cos(half);
    }
    return channel;
}

std::shared_ptr<vlClipData> NewClip(const char* name, unsigned char layout, unsigned char form)
{
    auto clip = std::make_shared<vlClipData>();
    SetName(clip->m_name, name);
    clip->m_boneCount = kBoneCount;
    clip->m_boneNames = std::make_shared<char[][32]>(kBoneCount);
    clip->m_keys = std::make_shared<vlTransKeysData[]>(kBoneCount);
    clip->m_keyLayout = layout;
    clip->m_compressFlags = form;
    for (std::uint16_t i = 0; i < kBoneCount; ++i) {
        SetName(clip->m_boneNames[i], kBones[i].name);
        clip->m_boneNameIds[i] = NameIDMurmur3(kBones[i].name);
    }
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
        const bool waves = std::strstr(kBones[i].name, "arm_r") != nullptr;
        const unsigned short keyCount = waves ? 24 : 1;
        clip->m_boneKeyCounts[i] = keyCount;
        clip->m_boneKeyTimes[i] = std::make_shared<float[]>(keyCount);
        for (unsigned short key = 0; key < keyCount; ++key)
            clip->m_boneKeyTimes[i][key] = static_cast<float>(key) * 1.5F;
        clip->m_keys[i] = Channel(kBones[i], keyCount, waves ? 1.2F : 0.0F);
    }
    clip->m_maxKeys = 24;
    clip->m_length = 34.5F;
    return clip;
}

}  // namespace

void BuildWalker(GisData& skeleton)
{
    vlAnimData& anim = skeleton.m_anim;
    anim.m_version = 0x60001;
    anim.m_boneCount = kBoneCount;
    anim.m_boneNames = std::make_shared<char[][32]>(kBoneCount);
    anim.m_boneTrans = std::make_shared<vlTransInfo[]>(kBoneCount);
    for (std::uint16_t i = 0; i < kBoneCount; ++i) {
        const Bone& bone = kBones[i];
        SetName(anim.m_boneNames[i], bone.name);
        anim.m_boneNameIds[i] = NameIDMurmur3(bone.name);
        anim.m_boneTrans[i] = {{bone.x, bone.y, bone.z}, {0, 0, 0, 1}, {1, 1, 1}};
    }
    anim.m_clips = {SharedTimesClip("walk", KEY_PACKED_ROT32 | KEY_HALF_SCALE, 32, 1), WaveClip(),
                    SharedTimesClip("idle", 0, 60, 0.1F)};

    tinyxml2::XMLDocument& document = skeleton.m_agsXml.Document();
    document.InsertEndChild(document.NewElement("Vela"));
    document.RootElement()->InsertNewChildElement("AnimGroup")->SetAttribute("Default", "idle");
}

}  // namespace vela::vlgim::tools
