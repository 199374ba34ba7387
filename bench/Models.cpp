#include "Models.h"

#include "support/MeshBytes.h"

#include <anim/AnimFile.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace vela::vlgim::bench {

namespace {

std::shared_ptr<vlClipData> Clip(unsigned number, unsigned char form)
{
    auto clip = std::make_shared<vlClipData>();
    clip->m_name = Name32("clip" + std::to_string(number));
    clip->m_boneCount = kClipBones;
    clip->m_boneNames = Array<Name32>(kClipBones);
    clip->m_keys = Array<vlTransKeysData>(kClipBones);
    clip->m_keyLayout = KEY_LAYOUT_SHARED;
    clip->m_compressFlags = form;
    clip->m_keyTimes = std::make_shared<vlKeyTimes>();
    clip->m_keyTimes->SetKeyTimes(kClipKeys, kClipKeys - 1U);
    for (std::uint16_t bone = 0; bone < kClipBones; ++bone) {
        clip->m_boneNames[bone] = Name32("bone" + std::to_string(bone));
        clip->m_keys[bone] = Channel(form);
    }
    return clip;
}

}  // namespace

// Halves take the first half of the room that floats would, so the pack mode changes nothing else.
Bytes MeshImage(std::uint32_t vertices, bool half)
{
    constexpr unsigned char kByte = 0x3C;  // makes a plain number of a single and of a half
    const std::size_t count = vertices;
    test::ByteBuilder block;
    block.Raw(test::ByteBuilder().U32s({vertices, 0}).U8(1).U8(1));  // the submesh
    block.U16(1).U32s({vertices, 0}).Fill(count * 24, kByte);        // positions and normals
    block.U16(1).Fill(count * 24, kByte);                            // tangents, uvs and colours
    return test::StaticMesh(block, half ? 0x01050004 : 0x00050004);
}

std::vector<std::size_t> MeshArrays(std::uint32_t vertices)
{
    const std::size_t count = vertices;
    return {12 * count, 12 * count, 12 * count, 8 * count, 4 * count};
}

std::vector<float> Tumble(std::size_t keys)
{
    std::vector<float> rotations;
    for (std::size_t i = 0; i < keys; ++i) {
        const auto bone = static_cast<float>(i / 30 % 1024);
        const float t = 2.4F * bone + 0.05F * static_cast<float>(i % 30);
        const float q[] = {std::sin(t) * std::cos(0.7F * t), std::sin(t) * std::sin(0.7F * t),
                           std::cos(t) * std::sin(0.3F * t), std::cos(t) * std::cos(0.3F * t)};
        rotations.insert(rotations.end(), q, q + 4);
    }
    return rotations;
}

vlTransKeysData Channel(unsigned char form)
{
    const std::vector<float> rotations = Tumble(kClipKeys);
    std::vector<float> vectors(rotations.begin(), rotations.begin() + 3 * kClipKeys);
    vlTransKeysData channel;
    channel.m_keyCount = kClipKeys;
    channel.m_compressFlags = form;
    channel.m_posKeyed = channel.m_rotKeyed = channel.m_scaleKeyed = 1;
    channel.m_pos = vectors;
    channel.m_rot = rotations;
    channel.m_scale = vectors;
    return channel;
}

vlAnimData Animation(unsigned clips, unsigned char form)
{
    vlAnimData anim;
    anim.m_version = 0x60001;
    for (unsigned number = 0; number < clips; ++number)
        anim.m_clips.push_back(Clip(number, form));
    return anim;
}

Bytes AnimImage(unsigned clips, unsigned char form)
{
    vlAnimData anim = Animation(clips, form);
    return test::Written([&anim](vlio::Sink& sink) { anim::WriteFile(sink, anim); });
}

}  // namespace vela::vlgim::bench
