#pragma once

#include "Bytes.h"

#include <vlgim/vlAnimData.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <string_view>
#include <vector>

// Blocks of tracks and animations, laid out by hand.
namespace vela::vlgim::test {

/// A field of 32 bytes: the name, filled up with NULs.
inline ByteBuilder Name(std::string_view name)
{
    ByteBuilder field;
    return field.Raw({name.begin(), name.end()}).Fill(32 - name.size(), 0);
}

/// A channel of full floats whose two positions differ; rotation and scale stand once. 56 bytes.
inline ByteBuilder MovingChannel(float from = 1)
{
    ByteBuilder block;
    return block.U8(1).U8(0).U8(0).U8(0).F32s({from, 2, 3, 4, 5, 6}).F32s({0, 0, 0, 1}).F32s({1, 1, 1});
}

/// A track of two keys, at 0.5 and 2, and two channels: 50 and 2 * 56 bytes.
inline ByteBuilder TrackBlock(std::uint16_t flags = 5)
{
    ByteBuilder block;
    block.Raw(Name("door")).U8(9).U8(8).U8(7).U8(6).U16(flags);
    block.U16(2).F32s({0.5F, 2}).U16(2);
    return block.Raw(MovingChannel()).Raw(MovingChannel(-1));
}

/// A channel that stands still: one position, rotation and scale. 44 bytes.
inline ByteBuilder StillChannel()
{
    ByteBuilder block;
    return block.U8(0).U8(0).U8(0).U8(0).F32s({7, 8, 9}).F32s({0, 0, 0, 1}).F32s({1, 1, 1});
}

/// Clip info with the fields that the version has; 74 to 80 bytes and 32 for each bone.
inline ByteBuilder ClipInfo(std::uint32_t version, std::string_view name,
                            const std::vector<std::string_view>& bones, std::uint8_t layout = 1,
                            std::uint8_t flags = 0)
{
    ByteBuilder info;
    info.Raw(Name(name)).Raw(Name("second")).U16(static_cast<std::uint16_t>(bones.size()));
    for (const std::string_view bone : bones)
        info.Raw(Name(bone));
    if (version >= 0x50004)
        info.U32(0x01020304);
    info.U8(5).U8(6).U16(7).U32(8);
    if (version >= 0x50002)
        info.U8(flags);
    if (version >= 0x50003)
        info.U8(layout);
    return info;
}

/// Clip "walk" of the bones "hip", which moves between two keys, and "Head", which stands still in one.
/// Layout 1 has the times 1.0416666 and 10, and 2; layout 0 has the first two for both bones; another none.
inline ByteBuilder ClipRecord(std::uint32_t version, std::uint8_t layout = 1, std::string_view name = "walk")
{
    ByteBuilder clip = ClipInfo(version, name, {"hip", "Head"}, layout);
    const float early = 5 / 4.8F;
    if (layout == 1 && version < 0x50002)
        clip.U16(2).U32(5).U32(48).Raw(MovingChannel()).U16(1).U32(10).Raw(StillChannel());
    else if (layout == 1)
        clip.U16(2).F32s({early, 10}).Raw(MovingChannel()).U16(1).F32(2).Raw(StillChannel());
    else if (layout == 0)
        clip.U16(2).F32s({early, 10}).Raw(MovingChannel()).Raw(StillChannel());
    return clip.U8(0);
}

/// Base info of a clip of two bones.
inline ByteBuilder BaseInfo(std::string_view name)
{
    ByteBuilder info;
    info.Raw(Name(name)).Raw(Name("second")).U16(2);
    for (std::uint32_t i = 0; i < 255; ++i)
        info.U32(1000 + i);
    return info.U32(0x01020304).U8(5).U8(6).U16(7).U32(8).U8(0).U8(1).F32(10).U32(144);
}

/// The first 10 bytes of a .gis file.
inline ByteBuilder GisHeader(std::uint32_t word, std::size_t clipCount)
{
    return ByteBuilder().Raw({'R', 'G', 'I', 'S'}).U32(word).U16(static_cast<std::uint16_t>(clipCount));
}

/// Bones at (1, 2, 3) and (10, 20, 30), not turned, of scale 2.
inline ByteBuilder Skeleton(std::string_view first = "hip", std::string_view second = "head")
{
    ByteBuilder bones;
    bones.U32(2).Raw(Name(first)).Raw(Name(second)).F32s({1, 2, 3, 0, 0, 0, 1, 2, 2, 2});
    return bones.F32s({10, 20, 30, 0, 0, 0, 1, 2, 2, 2});
}

/// A .gis file of one bone and the clip "walk": in the file or beside it.
inline ByteBuilder SmallGis(bool async, std::uint32_t version = 0x60001)
{
    ByteBuilder file = GisHeader(version, 1);
    if (version >= 0x60000)
        file.U32(1).Raw(Name("hip")).F32s({1, 2, 3, 0, 0, 0, 1, 1, 1, 1}).U32(async);
    return async ? file.U32(1108).Raw(BaseInfo("walk")) : file.Raw(ClipRecord(version));
}

/// A .gis file of a skeleton, if the version has one, and of the clips "walk" and "run" with the layout.
inline Bytes TwoClips(std::uint8_t layout, std::uint32_t word = 0x60001, const Bytes& skeleton = Skeleton())
{
    const std::uint32_t version = word & 0xFFFFFF;
    ByteBuilder file = GisHeader(word, 2);
    if (version >= 0x60000)
        file.Raw(skeleton).U32(0);
    return file.Raw(ClipRecord(version, layout)).Raw(ClipRecord(version, layout, "run"));
}

inline vlAnimData AnimationFrom(const Bytes& file)
{
    vlAnimData anim;
    EXPECT_TRUE(anim.ReadAnimationFile(file.data(), static_cast<std::uint32_t>(file.size()), "a.gis"));
    return anim;
}

}  // namespace vela::vlgim::test
