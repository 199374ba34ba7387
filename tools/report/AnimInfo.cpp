#include "report/AnimInfo.h"

#include "report/AnimFacts.h"
#include "report/Print.h"

#include <cstdio>

namespace vela::vlgim::tools {

namespace {

std::string FormText(KeyForm form)
{
    constexpr const char* rotations[] = {"floats", "halves", "32 bits", "48 bits"};
    const std::string text = rotations[static_cast<int>(form.rotation)];
    return form.isScaleHalf ? text + ", scales halves" : text;
}

const char* TimesText(unsigned char keyLayout)
{
    if (keyLayout == KEY_LAYOUT_SHARED)
        return "shared";
    return keyLayout == KEY_LAYOUT_PER_BONE ? "per bone" : "none";
}

void PrintClips(const vlAnimData& anim)
{
    std::printf("\n  %4s  %-16s  %8s  %5s  %5s  %-8s  %-24s  %10s  %10s\n", "#", "clip", "length", "keys",
                "bones", "times", "rotations", "on disk", "in memory");
    for (std::size_t i = 0; i < anim.m_clips.size(); ++i) {
        if (!anim.m_clips[i]) {
            std::printf("  %4zu  (its side file is missing)\n", i);
            continue;
        }
        const vlClipData& clip = *anim.m_clips[i];
        std::printf("  %4zu  %-16s  %8g  %5u  %5u  %-8s  %-24s  %10s  %10s\n", i, Shown(clip.m_name).c_str(),
                    static_cast<double>(clip.m_length), clip.m_maxKeys, clip.m_boneCount,
                    TimesText(clip.m_keyLayout), FormText(FormOf(clip, anim.m_version)).c_str(),
                    Grouped(BytesOnDisk(clip, anim.m_version)).c_str(), Grouped(BytesInMemory(clip)).c_str());
    }
}

}  // namespace

void PrintInfo(const std::string& path, const GisData& skeleton)
{
    const vlAnimData& anim = skeleton.m_anim;
    std::printf("%s\n", Shown(path).c_str());
    Row("version", "%u.%u", anim.m_version >> 16, anim.m_version & 0xFFFF);
    Row("clips", "%zu, %s", anim.m_clips.size(), anim.m_async ? "in side files" : "in the file");
    Row("document", "%s", skeleton.m_agsXml.IsEmpty() ? "none" : "yes");
    Row("bones", "%u", anim.m_boneCount);

    const std::vector<bool> moving = MovingBones(anim);
    for (std::uint32_t bone = 0; bone < anim.m_boneCount; ++bone) {
        const auto& position = anim.m_boneTrans[bone].m_pos;
        std::printf("      %3u  %-20s  (%g, %g, %g)%s\n", bone, Shown(anim.m_boneNames[bone]).c_str(),
                    position.x, position.y, position.z, moving[bone] ? "" : "  never moves");
    }
    PrintClips(anim);
}

void PrintInfo(const std::string& path, const vlTrackData& track)
{
    std::printf("%s\n", Shown(path).c_str());
    Row("version", "%s", Hex(track.m_version).c_str());
    Row("name", "%s", Shown(track.m_name).c_str());
    Row("keys", "%u, length %g", track.GetKeyCount(), track.m_times.GetLength());
    Row("channels", "%u", track.m_channelCount);
    for (std::uint16_t i = 0; i < track.m_channelCount; ++i)
        std::printf("      %3u  %s\n", i, Moves(track.m_channels[i]) ? "moves" : "never moves");
    Row("in memory", "%s bytes", Grouped(BytesInMemory(track)).c_str());
}

}  // namespace vela::vlgim::tools
