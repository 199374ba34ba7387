#include <vlgim/vlAnimData.h>

#include <algorithm>

namespace vela::vlgim {

namespace {

// Converts the keys of each bone of each clip that the skeleton has, unless they have this form.
void Convert(vlAnimData& anim, bool toDelta, void (vlTransKeysData::*convert)(const vlTransInfo&))
{
    if (anim.m_isDelta == toDelta)
        return;
    const std::int32_t* first = anim.m_boneNameIds;
    const std::int32_t* last =
        first + std::min<std::size_t>({anim.m_boneCount, vlAnimData::kMaxBones, anim.m_boneTrans.size()});
    for (const auto& clip : anim.m_clips) {
        if (!clip)
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
