#include "demo/Walker.h"

#include "demo/Parts.h"

#include <nameid/NameID.h>

#include <cmath>
#include <cstring>
#include <iterator>
#include <numbers>

namespace vela::vlgim::tools {

namespace {

constexpr Bone kBones[] = {
    {"hips", -1, {0, 0.95F, 0}, 0.05F},      {"spine", 0, {0, 0.2F, 0}, 0.08F},
    {"head", 1, {0, 0.45F, 0}, 0},           {"arm_l", 1, {0.2F, 0.4F, 0}, 0.5F},
    {"forearm_l", 3, {0, -0.3F, 0}, 0.25F},  {"arm_r", 1, {-0.2F, 0.4F, 0}, -0.5F},
    {"forearm_r", 5, {0, -0.3F, 0}, -0.25F}, {"thigh_l", 0, {0.1F, -0.05F, 0}, -0.6F},
    {"shin_l", 7, {0, -0.45F, 0}, -0.4F},    {"thigh_r", 0, {-0.1F, -0.05F, 0}, 0.6F},
    {"shin_r", 9, {0, -0.45F, 0}, 0.4F},     {"hat", 2, {0, 0.2F, 0}, 0},
};
constexpr auto kBoneCount = static_cast<std::uint16_t>(std::size(kBones));

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

std::shared_ptr<vlClipData> NewClip(const char* name, unsigned char layout, unsigned char form)
{
    auto clip = std::make_shared<vlClipData>();
    clip->m_name = Name32(name);
    clip->m_boneCount = kBoneCount;
    clip->m_boneNames = Array<Name32>(kBoneCount);
    clip->m_keys = Array<vlTransKeysData>(kBoneCount);
    clip->m_keyLayout = layout;
    clip->m_compressFlags = form;
    for (std::uint16_t i = 0; i < kBoneCount; ++i) {
        clip->m_boneNames[i] = Name32(kBones[i].name);
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
        clip->m_boneKeyTimes[i] = Array<float>(keyCount);
        for (unsigned short key = 0; key < keyCount; ++key)
            clip->m_boneKeyTimes[i][key] = static_cast<float>(key) * 1.5F;
        clip->m_keys[i] = Channel(kBones[i], keyCount, waves ? 1.2F : 0.0F);
    }
    clip->m_maxKeys = 24;
    clip->m_length = 34.5F;
    return clip;
}

}  // namespace

std::span<const Bone> WalkerBones()
{
    return kBones;
}

void BuildWalker(GisData& skeleton)
{
    vlAnimData& anim = skeleton.m_anim;
    anim.m_version = 0x60001;
    anim.m_boneCount = kBoneCount;
    anim.m_boneNames = Array<Name32>(kBoneCount);
    anim.m_boneTrans = Array<vlTransInfo>(kBoneCount);
    for (std::uint16_t i = 0; i < kBoneCount; ++i) {
        const Bone& bone = kBones[i];
        anim.m_boneNames[i] = Name32(bone.name);
        anim.m_boneNameIds[i] = NameIDMurmur3(bone.name);
        anim.m_boneTrans[i] = {bone.position, {0, 0, 0, 1}, {1, 1, 1}};
    }
    anim.m_clips = {SharedTimesClip("walk", KEY_PACKED_ROT32 | KEY_HALF_SCALE, 32, 1), WaveClip(),
                    SharedTimesClip("idle", 0, 60, 0.1F)};

    Append(Append(&skeleton.m_agsXml.Document(), "Vela"), "AnimGroup", {{"Default", "idle"}});
}

}  // namespace vela::vlgim::tools
