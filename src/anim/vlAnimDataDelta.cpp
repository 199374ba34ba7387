#include <vlgim/vlAnimData.h>

#include "AnimFile.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

namespace vela::vlgim {

void anim::SeparateChannels(vlAnimData& anim)
{
    std::unordered_map<const vlTransKeysData*, const vlClipData*> owners;
    for (const auto& clip : anim.m_clips)
        if (clip && clip->m_keys &&
            owners.emplace(clip->m_keys.data(), clip.get()).first->second != clip.get())
            clip->m_keys = clip->m_keys.Clone();
}

namespace {

// Converts the keys of each bone of each clip that the skeleton has, unless they have this form.
void Convert(vlAnimData& anim, bool toDelta, void (vlTransKeysData::*convert)(const vlTransInfo&))
{
    if (anim.m_isDelta == toDelta)
        return;
    const std::int32_t* first = anim.m_boneNameIds;
    const std::int32_t* last =
        first + std::min<std::size_t>({anim.m_boneCount, vlAnimData::kMaxBones, anim.m_boneTrans.size()});
    anim::SeparateChannels(anim);
    std::unordered_set<const vlClipData*> converted;  // an animation may show a clip twice
    for (const auto& clip : anim.m_clips) {
        if (!clip || !converted.insert(clip.get()).second)
            continue;
        const auto count =
            std::min<std::size_t>({clip->m_boneCount, vlClipData::kMaxBones, clip->m_keys.size()});
        for (std::size_t i = 0; i < count; ++i)
            if (const auto found = std::find(first, last, clip->m_boneNameIds[i]); found != last)
                (clip->m_keys[i].*convert)(anim.m_boneTrans[static_cast<std::size_t>(found - first)]);
    }
    anim.m_isDelta = toDelta;
}

}  // namespace

void vlAnimData::ConvertToDelta()
{
    Convert(*this, true, &vlTransKeysData::ConvertToDelta);
}

void vlAnimData::ConvertFromDelta()
{
    Convert(*this, false, &vlTransKeysData::ConvertFromDelta);
}

}  // namespace vela::vlgim
