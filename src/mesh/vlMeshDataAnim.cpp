#include "MeshBlocks.h"
#include "MeshVersions.h"

#include <io/Errors.h>
#include <keys/KeyTimesBlock.h>
#include <track/TrackBlock.h>
#include <track/TrackVersions.h>

namespace vela::vlgim::mesh {

using io::Block;

namespace {

constexpr std::uint64_t kKeyRecordSize = 28;

void ReadTracks(io::BlockReader& in, vlMeshData& mesh)
{
    const auto version = in.Value<std::uint32_t>(Block::TrackVersion);
    if (!in.Spend(std::uint64_t{mesh.m_submeshCount} * sizeof(vlTrackData)))
        return;
    mesh.m_tracks = Array<vlTrackData>(mesh.m_submeshCount);
    for (std::uint32_t i = 0; i < mesh.m_submeshCount && !in.Failed(); ++i) {
        mesh.m_tracks[i].m_version = version;
        tracks::Read(in, mesh.m_tracks[i], i);
    }
}

}  // namespace

void ReadAnimation(io::BlockReader& in, vlMeshData& mesh)
{
    unsigned short keyCount = 0;
    {
        const auto scope = in.Enter(Block::AnimationBlock);
        mesh.m_hasMorph = in.Value<std::uint8_t>();
        if (mesh.m_hasMorph != 0) {
            mesh.m_morph = std::make_shared<vlMorphData>();
            Read(in, *mesh.m_morph);
            keyCount = mesh.m_morph->m_times.GetKeyCount();
        }
        mesh.m_hasTracks = in.Value<std::uint8_t>();
        if (mesh.m_hasTracks != 0)
            ReadTracks(in, mesh);
        if (mesh.m_tracks && mesh.m_submeshCount != 0)
            keyCount = mesh.m_tracks[0].GetKeyCount();
    }
    if (mesh.m_version < kNoKeyRecordsVersion && (mesh.m_hasMorph || mesh.m_hasTracks))
        in.Take(Block::KeyRecords, keyCount, kKeyRecordSize * (1 + std::uint64_t{mesh.m_submeshCount}));
}

void ReadAnimBI(io::BlockReader& in, const vlMeshData& mesh)
{
    if (mesh.m_skeletonFlag != kSkinned)
        return;
    const auto scope = in.Enter(Block::AnimBI);
    if (in.Value<std::uint8_t>() == 0)
        return;
    in.Take(1, 4);
    const auto groups = in.Value<std::uint16_t>();
    for (std::uint16_t i = 0; i < groups; ++i)
        in.Take(in.Value<std::uint16_t>(), kKeyRecordSize);
}

Error WhyAnimationUnwritable(const vlMeshData& mesh)
{
    if (mesh.m_hasMorph && !mesh.m_morph)
        return io::Unwritable("the morph flag is set, and there is no morph");
    if (Error why = mesh.m_hasMorph ? keys::WhyUnwritable(mesh.m_morph->m_times) : Error())
        return io::Inside("morph data", std::move(why));
    if (!mesh.m_hasTracks)
        return {};
    if (!mesh.m_tracks)
        return io::Unwritable("the track flag is set, and there are no tracks");
    const std::uint32_t count = mesh.m_vertexData->m_subCount;
    if (Error why = io::WhyShort(mesh.m_tracks, count, "tracks of the submeshes"))
        return why;
    for (std::uint32_t i = 0; i < count; ++i) {
        Error why = tracks::WhyUnwritable(mesh.m_tracks[i]);
        // The version of the first track is stored for all of them.
        if (FlagsReadAt(mesh.m_tracks[0].m_version, mesh.m_tracks[i].m_flags) != mesh.m_tracks[i].m_flags)
            why = io::Unwritable("the version of the first track has no place for its flags");
        if (why)
            return io::Inside("track " + std::to_string(i), std::move(why));
    }
    return {};
}

void WriteAnimation(io::BlockWriter& out, const vlMeshData& mesh)
{
    out.Value(mesh.m_hasMorph);
    if (mesh.m_hasMorph)
        Write(out, *mesh.m_morph);
    out.Value(mesh.m_hasTracks);
    if (!mesh.m_hasTracks)
        return;
    const std::uint32_t count = mesh.m_vertexData->m_subCount;
    out.Value(count ? mesh.m_tracks[0].m_version : kNewestTrackVersion);
    for (std::uint32_t i = 0; i < count; ++i)
        tracks::Write(out, mesh.m_tracks[i]);
}

void WriteAnimBI(io::BlockWriter& out, const vlMeshData& mesh)
{
    if (mesh.m_skeletonFlag == kSkinned)
        out.Value(std::uint8_t{0});
}

}  // namespace vela::vlgim::mesh
