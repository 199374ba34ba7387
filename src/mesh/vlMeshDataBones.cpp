#include "MeshBlocks.h"
#include "MeshVersions.h"

#include <io/ArrayBlock.h>
#include <io/Errors.h>
#include <io/Name.h>

#include <algorithm>
#include <cmath>

// The bones block of a skinned mesh.
namespace vela::vlgim::mesh {

namespace {

using io::Block;
using Matrix = geomath::_Matrix<float>;

constexpr std::uint16_t kNoParent = 0xFFFF;
constexpr std::uint16_t kNoBones = 0xFFFF;  // like 0

std::vector<std::uint16_t> Parents(const unsigned char* source, std::uint16_t count, bool wide)
{
    std::vector<std::uint16_t> parents(count);
    if (wide)
        io::CopyRun(parents.data(), source, count);
    else
        std::transform(source, source + count, parents.begin(),
                       [](unsigned char parent) { return parent == 255 ? kNoParent : parent; });
    return parents;
}

// Bounds of which any is unknown are of no use.
bool AllKnown(const Array<BoundingInfo>& bounds, std::uint16_t count)
{
    return bounds && std::none_of(bounds.begin(), bounds.begin() + count,
                                  [](const BoundingInfo& info) { return std::isnan(info.m_radius); });
}

std::uint16_t RootOf(const std::vector<std::uint16_t>& parents)
{
    const auto first = std::find(parents.begin(), parents.end(), kNoParent);
    if (first == parents.end())
        return 0;
    const bool several = std::find(first + 1, parents.end(), kNoParent) != parents.end();
    return several ? kNoParent : static_cast<std::uint16_t>(first - parents.begin());
}

}  // namespace

void ReadBones(io::BlockReader& in, vlMeshData& mesh)
{
    if (mesh.m_skeletonFlag != kSkinned)
        return;
    const auto scope = in.Enter(Block::BonesBlock);
    const auto count = in.Value<std::uint16_t>();
    mesh.m_boneCount = count;
    if (count == 0 || count == kNoBones)
        return;
    const bool wide = mesh.m_version >= kWideParentVersion;
    const unsigned char* parents = in.Take(Block::Parents, count, wide ? 2 : 1);
    const unsigned char* names = in.Take(Block::Names, count, sizeof(Name32));
    const bool hasBounds = in.Value<std::uint8_t>(Block::BoundsFlag) != 0;
    const unsigned char* bounds = hasBounds ? in.Take(Block::Bounds, count, sizeof(BoundingInfo)) : nullptr;
    const unsigned char* matrices = in.Take(Block::Matrices, count, sizeof(Matrix));
    if (in.Failed())
        return;

    io::ArrayBlock block;
    const auto nameSlot = block.Plan<Name32>(count);
    const auto boundSlot = block.Plan<BoundingInfo>(bounds ? count : 0);
    const auto matrixSlot = block.Plan<Matrix>(count);
    if (!block.Allocate(in))
        return;
    mesh.m_boneParents = Parents(parents, count, wide);
    mesh.m_rootBone = RootOf(mesh.m_boneParents);
    mesh.m_boneNames = block.Array(nameSlot);
    io::CopyRun(mesh.m_boneNames.data(), names, count);
    mesh.m_boneNameIds.resize(count);
    for (std::uint16_t i = 0; i < count; ++i)
        mesh.m_boneNameIds[i] = io::LowerAndHash(mesh.m_boneNames[i]);
    if (bounds) {
        mesh.m_boneBounds = block.Array(boundSlot);
        io::CopyRun(mesh.m_boneBounds.data(), bounds, count);
        if (!AllKnown(mesh.m_boneBounds, count))
            mesh.m_boneBounds = nullptr;
    }
    mesh.m_boneMatrices = block.Array(matrixSlot);
    io::CopyRun(mesh.m_boneMatrices.data(), matrices, count);
}

std::uint16_t BoneCount(const vlMeshData& mesh)
{
    return mesh.m_boneCount == kNoBones ? static_cast<std::uint16_t>(0) : mesh.m_boneCount;
}

Error WhyBonesUnwritable(const vlMeshData& mesh)
{
    const std::uint16_t count = BoneCount(mesh);
    if (mesh.m_skeletonFlag != kSkinned || count == 0)
        return {};
    if (mesh.m_boneParents.size() != count)
        return io::Unwritable("there are " + std::to_string(count) + " bones and " +
                              std::to_string(mesh.m_boneParents.size()) + " parents");
    if (Error why = io::WhyShort(mesh.m_boneNames, count, "bone names"))
        return why;
    if (Error why = io::WhyShort(mesh.m_boneBounds, mesh.m_boneBounds ? count : 0, "bone bounds"))
        return why;
    return io::WhyShort(mesh.m_boneMatrices, count, "bone matrices");
}

void WriteBones(io::BlockWriter& out, const vlMeshData& mesh)
{
    if (mesh.m_skeletonFlag != kSkinned)
        return;
    out.Value(mesh.m_boneCount);
    const std::uint16_t count = BoneCount(mesh);
    if (count == 0)
        return;
    out.Run(mesh.m_boneParents.data(), count);
    out.Run(mesh.m_boneNames.data(), count);
    const bool hasBounds = AllKnown(mesh.m_boneBounds, count);
    out.Value(std::uint8_t{hasBounds});
    if (hasBounds)
        out.Run(mesh.m_boneBounds.data(), count);
    out.Run(mesh.m_boneMatrices.data(), count);
}

}  // namespace vela::vlgim::mesh
