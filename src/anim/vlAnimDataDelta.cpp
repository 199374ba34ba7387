#include <vlgim/vlAnimData.h>

#include <algorithm>

namespace vela::vlgim {

// Calls convert(keys, reference) for each bone of each clip that the skeleton has.
namespace {

template <class Convert>
void ForEachBone(vlAnimData& anim, Convert convert)
{
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
                convert(clip->m_keys[i], anim.m_boneTrans[static_cast<std::size_t>(found - first)]);
    }
}

}  // namespace

void vlAnimData::ConvertToDelta()
{
    if (m_isDelta)
        return;
    ForEachBone(*this,
                [](vlTransKeysData& keys, const vlTransInfo& reference) { keys.ConvertToDelta(reference); });
    m_isDelta = true;
}

void vlAnimData::ConvertFromDelta()
{
    if (!m_isDelta)
        return;
    ForEachBone(
        *this, [](vlTransKeysData& keys, const vlTransInfo& reference) { keys.ConvertFromDelta(reference); });
    m_isDelta = false;
}

}  // namespace vela::vlgim
