#include <vlgim/vlMeshData.h>

#include "io/BlockReader.h"
#include "io/BlockWriter.h"
#include "mesh/MeshVersions.h"
#include "track/TrackBlock.h"
#include "track/TrackVersions.h"

// The animation block, which says what moves the vertices, and the anim-BI block of skinned meshes, of which nothing
// is kept.
namespace vela::vlgim {

namespace {

constexpr std::uint64_t kKeyRecordSize = 28;

}  // namespace

void vlMeshData::ReadAnimDataNew(io::BlockReader& in)
{
    in.Enter("animation block");
    unsigned short keyCount = 0;
    m_hasMorph = in.Value<std::uint8_t>();
    if (m_hasMorph != 0) {
        in.Enter("morph data");
        m_morph = std::make_shared<vlMorphData>();
        m_morph->Read(in);
        keyCount = m_morph->m_times.GetKeyCount();
    }
    in.Enter("animation block");
    m_hasTracks = in.Value<std::uint8_t>();
    if (m_hasTracks != 0) {
        const auto version = in.Value<std::uint32_t>();
        if (!in.Spend(std::uint64_t{m_submeshCount} * sizeof(vlTrackData)))
            return;
        m_tracks = std::make_shared<vlTrackData[]>(m_submeshCount);
        for (std::uint32_t i = 0; i < m_submeshCount && !in.Failed(); ++i) {
            m_tracks[i].m_version = version;
            tracks::Read(in, m_tracks[i]);
        }
        if (m_submeshCount != 0)
            keyCount = m_tracks[0].GetKeyCount();
    }
    in.Enter("key records");
    if (m_version < kNoKeyRecordsVersion && (m_hasMorph || m_hasTracks))
        in.Take(keyCount, kKeyRecordSize * (1 + std::uint64_t{m_submeshCount}));
}

void vlMeshData::ReadAnimBIData(io::BlockReader& in) const
{
    if (m_skeletonFlag != kSkinned)
        return;
    in.Enter("anim-BI block");
    if (in.Value<std::uint8_t>() == 0)
        return;
    in.Take(1, 4);
    const auto groups = in.Value<std::uint16_t>();
    for (std::uint16_t i = 0; i < groups; ++i)
        in.Take(in.Value<std::uint16_t>(), kKeyRecordSize);
}

std::string vlMeshData::AnimObstacle() const
{
    if (m_hasMorph && !m_morph)
        return "the morph flag is set, and there is no morph";
    if (m_hasTracks && !m_tracks)
        return "the track flag is set, and there are no tracks";
    keys::UnsetCounts counts;
    for (std::uint32_t i = 0; m_hasTracks && i < m_vertexData->m_subCount; ++i) {
        std::string obstacle = tracks::WhyUnwritable(m_tracks[i], &counts);
        // The version of the first track is stored for all of them.
        if (FlagsReadAt(m_tracks[0].m_version, m_tracks[i].m_flags) != m_tracks[i].m_flags)
            obstacle = "the version of the first track has no place for its flags";
        if (!obstacle.empty())
            return "track " + std::to_string(i) + ": " + obstacle;
    }
    return {};
}

void vlMeshData::WriteAnimData(io::BlockWriter& out) const
{
    out.Value(m_hasMorph);
    if (m_hasMorph)
        m_morph->Write(out);
    out.Value(m_hasTracks);
    if (!m_hasTracks)
        return;
    const std::uint32_t subCount = m_vertexData->m_subCount;
    out.Value(subCount ? m_tracks[0].m_version : kNewestTrackVersion);
    for (std::uint32_t i = 0; i < subCount; ++i)
        tracks::Write(out, m_tracks[i]);
}

void vlMeshData::WriteAnimBIData(io::BlockWriter& out) const
{
    if (m_skeletonFlag == kSkinned)
        out.Value(std::uint8_t{0});
}

}  // namespace vela::vlgim
