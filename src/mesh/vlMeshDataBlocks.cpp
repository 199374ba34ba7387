#include "BlockVisitors.h"
#include "MeshBlocks.h"
#include "MeshVersions.h"

#include <io/Name.h>
#include <keys/KeyTimesBlock.h>
#include <track/TrackBlock.h>
#include <track/TrackVersions.h>

#include <algorithm>
#include <cmath>

// The blocks ahead of the vertices: the animation, and the skeleton.
namespace vela::vlgim::mesh {

namespace {

using io::Block;

constexpr std::uint64_t kKeyRecordSize = 28;
constexpr std::uint16_t kNoBones = 0xFFFF;  // like 0

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

// What stands behind the parents.
void Visit(auto& mesh, std::uint8_t& hasBounds, auto&& visitor)
{
    const std::uint16_t count = BoneCount(mesh);
    visitor.Array("bone names", mesh.m_boneNames, count, Block::Names);
    visitor.Value(hasBounds, Block::BoundsFlag);
    if (hasBounds != 0)
        visitor.Array("bone bounds", mesh.m_boneBounds, count, Block::Bounds);
    visitor.Array("bone matrices", mesh.m_boneMatrices, count, Block::Matrices);
}

// Bounds of which any is unknown are of no use.
bool AllKnown(const Array<BoundingInfo>& bounds, std::uint16_t count)
{
    return bounds && std::none_of(bounds.begin(), bounds.begin() + count,
                                  [](const BoundingInfo& info) { return std::isnan(info.m_radius); });
}

std::uint16_t RootOf(const std::vector<std::uint16_t>& parents)
{
    const auto first = std::find(parents.begin(), parents.end(), kNoBone);
    if (first == parents.end())
        return 0;
    const bool several = std::find(first + 1, parents.end(), kNoBone) != parents.end();
    return several ? kNoBone : static_cast<std::uint16_t>(first - parents.begin());
}

void ReadBones(io::BlockReader& in, vlMeshData& mesh)
{
    const auto scope = in.Enter(Block::BonesBlock);
    mesh.m_boneCount = in.Value<std::uint16_t>();
    const std::uint16_t count = BoneCount(mesh);
    if (count == 0)
        return;
    const bool isWide = mesh.m_version >= kWideParentVersion;
    const unsigned char* parents = in.Take(Block::Parents, count, isWide ? 2 : 1);
    std::uint8_t hasBounds = 0;
    io::ReadTwice(in, [&](const io::Pass& pass) { Visit(mesh, hasBounds, ArrayReader{pass}); });
    if (in.Failed())
        return;
    mesh.m_boneParents.resize(count);
    CopyBoneIndices(mesh.m_boneParents.data(), parents, count, isWide);
    mesh.m_rootBone = RootOf(mesh.m_boneParents);
    mesh.m_boneNameIds.resize(count);
    std::ranges::transform(mesh.m_boneNames, mesh.m_boneNameIds.begin(), io::LowerAndHash);
    if (!AllKnown(mesh.m_boneBounds, count))
        mesh.m_boneBounds = nullptr;
}

void ReadAnimBI(io::BlockReader& in)
{
    const auto scope = in.Enter(Block::AnimBI);
    if (in.Value<std::uint8_t>() == 0)
        return;
    in.Take(1, 4);
    const auto groups = in.Value<std::uint16_t>();
    for (std::uint16_t i = 0; i < groups; ++i)
        in.Take(in.Value<std::uint16_t>(), kKeyRecordSize);
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
        if (!mesh.m_tracks.empty())
            keyCount = mesh.m_tracks[0].GetKeyCount();
    }
    if (mesh.m_version < kNoKeyRecordsVersion && (mesh.m_hasMorph || mesh.m_hasTracks))
        in.Take(Block::KeyRecords, keyCount, kKeyRecordSize * (1 + std::uint64_t{mesh.m_submeshCount}));
}

Error WhyAnimationUnwritable(const vlMeshData& mesh)
{
    if (mesh.m_hasMorph && !mesh.m_morph)
        return io::Unwritable("the morph flag is set, but there is no morph");
    if (Error why = mesh.m_hasMorph ? keys::WhyUnwritable(mesh.m_morph->m_times) : Error())
        return io::Inside({Block::MorphData, io::Step::kOnly}, std::move(why));
    if (!mesh.m_hasTracks)
        return {};
    if (!mesh.m_tracks)
        return io::Unwritable("the track flag is set, but there are no tracks");
    const std::uint32_t count = mesh.m_vertexData->m_subCount;
    if (Error why = io::WhyShort(mesh.m_tracks, count, "tracks of the submeshes"))
        return why;
    return io::FirstInside(Block::Track, count, [&mesh](std::size_t i) {
        const vlTrackData& track = mesh.m_tracks[i];
        // The version of the first track is stored for all of them.
        if (FlagsReadAt(mesh.m_tracks[0].m_version, track.m_flags) != track.m_flags)
            return io::Unwritable("the version of the first track has no place for its flags");
        return WhyUnwritable(track);
    });
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

void ReadSkeleton(io::BlockReader& in, vlMeshData& mesh)
{
    if (mesh.m_skeletonFlag != kSkinned)
        return;
    ReadBones(in, mesh);
    ReadAnimBI(in);
}

std::uint16_t BoneCount(const vlMeshData& mesh)
{
    return mesh.m_boneCount == kNoBones ? static_cast<std::uint16_t>(0) : mesh.m_boneCount;
}

Error WhySkeletonUnwritable(const vlMeshData& mesh)
{
    const std::uint16_t count = BoneCount(mesh);
    if (mesh.m_skeletonFlag != kSkinned || count == 0)
        return {};
    if (mesh.m_boneParents.size() != count)
        return io::Unwritable("there are " + std::to_string(count) + " bones and " +
                              std::to_string(mesh.m_boneParents.size()) + " parents");
    ShortArray check;
    std::uint8_t hasBounds{bool(mesh.m_boneBounds)};
    Visit(mesh, hasBounds, check);
    return check.why;
}

void WriteSkeleton(io::BlockWriter& out, const vlMeshData& mesh)
{
    if (mesh.m_skeletonFlag != kSkinned)
        return;
    out.Value(mesh.m_boneCount);
    if (const std::uint16_t count = BoneCount(mesh)) {
        out.Run(mesh.m_boneParents.data(), count);
        std::uint8_t hasBounds{AllKnown(mesh.m_boneBounds, count)};
        Visit(mesh, hasBounds, ArrayWriter{out});
    }
    out.Value(std::uint8_t{0});  // no anim-BI
}

}  // namespace vela::vlgim::mesh
