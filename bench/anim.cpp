#include "Floors.h"
#include "Fresh.h"
#include "Models.h"
#include "Scratch.h"
#include "Table.h"

#include <vlio2/FileStream.h>

namespace vela::vlgim::bench {

namespace {

constexpr unsigned char kSmall = KEY_PACKED_ROT32 | KEY_HALF_SCALE;

void Load(const unsigned char* data, std::size_t size)
{
    vlAnimData anim;
    if (!anim.ReadAnimationFile(data, static_cast<std::uint32_t>(size), "bench.gis"))
        std::abort();
    Keep(anim.m_clips.data());
}

Pair Warm(unsigned clips)
{
    return InProcess([image = AnimImage(clips, kSmall)] { Load(image.data(), image.size()); },
                     CopyInUse(clips * kClipBytes));
}

Pair Fresh(unsigned clips)
{
    const std::size_t decoded = clips * kClipBytes;
    return {InFreshProcess("load animation", {ScratchFile("gis", AnimImage(clips, kSmall))}),
            InFreshProcess("F(first)", {ScratchFile("decoded", Bytes(decoded, 1)), std::to_string(decoded)})};
}

Pair FromPath(unsigned clips)
{
    const std::string path = ScratchFile("gis", AnimImage(clips, 0));
    const std::vector<std::size_t> channels(clips * kClipBones, kChannelBytes);
    const auto read = [=] {
        vlio::Bytes bytes;
        if (!vlio::FileStream::ReadAllBinary(path.c_str(), bytes, vlio::FILE_SYSTEM_MODEL))
            std::abort();
        Load(bytes.data(), bytes.size());
    };
    return InProcess(read, [=] { CopyRead(path.c_str(), channels); });
}

}  // namespace

void AddAnimRows(Rows& rows)
{
    rows.push_back(
        {"file of a clip, 60 bones x 30 keys, small forms, warm", "F(mem)", 5.0, [] { return Warm(1); }});
    rows.push_back({"file of 200 such clips, warm", "F(mem)", 1.0, [] { return Warm(200); }});
    rows.push_back(
        {"file of 200 such clips, fresh process", "one new block", 1.3, [] { return Fresh(200); }});
    rows.push_back(
        {"file of 20 clips in floats from a path, warm", "F(read)", 1.0, [] { return FromPath(20); }});
}

}  // namespace vela::vlgim::bench
