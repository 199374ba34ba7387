#include <vlgim/vlAnimData.h>

#include <algorithm>

namespace vela::vlgim {

// Calls convert(keys, reference) for each bone of each clip that the skeleton has.
template <class Convert>
void vlAnimData::ForEachBone(Convert convert)
{
    const std::int32_t* first = m_boneNameIds;
    const std::int32_t* last = first + (m_boneTrans ? std::min(m_boneCount, kMaxBones) : 0);
    for (const auto& clip : m_clips) {
        if (!clip || !clip->m_keys)
            continue;
        for (unsigned i = 0; i < std::min<unsigned>(clip->m_boneCount, vlClipData::kMaxBones); ++i)
            if (const auto found = std::find(first, last, clip->m_boneNameIds[i]); found != last)
                convert(clip->m_keys[i], m_boneTrans[found - first]);
    }
}

void vlAnimData::ConvertToDelta()
{
    if (m_isDelta)
        return;
    ForEachBone([](vlTransKeysData& keys, const vlTransInfo& reference) { keys.ConvertToDelta(reference); });
    m_isDelta = true;
}

void vlAnimData::ConvertFromDelta()
{
    if (!m_isDelta)
        return;
    ForEachBone(
        [](vlTransKeysData& keys, const vlTransInfo& reference) { keys.ConvertFromDelta(reference); });
    m_isDelta = false;
}

}  // namespace vela::vlgim
