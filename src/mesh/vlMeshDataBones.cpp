#include <vlgim/vlMeshData.h>

#include <basekit/StringAlgo.h>
#include <nameid/NameID.h>

#include "io/ArrayBlock.h"
#include "io/BlockReader.h"
#include "io/BlockWriter.h"
#include "mesh/MeshVersions.h"

#include <algorithm>
#include <cmath>

// The bones block of a skinned mesh.
namespace vela::vlgim {

namespace {

using Matrix = geomath::_Matrix<float>;
using Name = char[32];

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

// Lower-cases a name and hashes it. One that fills its field has no NUL to stop at.
std::int32_t LowerAndHash(Name& name)
{
    char text[sizeof name + 1] = {};
    std::memcpy(text, name, sizeof name);
    kit::StringAlgo::ToLower(text);
    std::memcpy(name, text, sizeof name);
    return NameIDMurmur3(text);
}

// Bounds of which any is unknown are of no use.
bool AllKnown(const BoundingInfo* bounds, std::uint16_t count)
{
    return bounds && std::none_of(bounds, bounds + count,
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

void vlMeshData::ReadBonesData(io::BlockReader& in)
{
    if (m_skeletonFlag != kSkinned)
        return;
    in.Enter("bones block");
    const auto count = in.Value<std::uint16_t>();
    m_boneCount = count;
    if (count == 0 || count == kNoBones)
        return;
    const bool wide = m_version >= kWideParentVersion;
    const unsigned char* parents = in.Take(count, wide ? 2 : 1);
    const unsigned char* names = in.Take(count, sizeof(Name));
    const unsigned char* bounds = in.Value<std::uint8_t>() ? in.Take(count, sizeof(BoundingInfo)) : nullptr;
    const unsigned char* matrices = in.Take(count, sizeof(Matrix));
    if (in.Failed())
        return;

    io::ArrayBlock block;
    const auto nameSlot = block.Plan<Name>(count);
    const auto boundSlot = block.Plan<BoundingInfo>(bounds ? count : 0);
    const auto matrixSlot = block.Plan<Matrix>(count);
    if (!block.Allocate(in))
        return;
    m_boneParents = Parents(parents, count, wide);
    m_rootBone = RootOf(m_boneParents);
    m_boneNames = block.Array(nameSlot);
    io::CopyRun(m_boneNames.get(), names, count);
    m_boneNameIds.resize(count);
    for (std::uint16_t i = 0; i < count; ++i)
        m_boneNameIds[i] = LowerAndHash(m_boneNames[i]);
    if (bounds) {
        m_boneBounds = block.Array(boundSlot);
        io::CopyRun(m_boneBounds.get(), bounds, count);
        if (!AllKnown(m_boneBounds.get(), count))
            m_boneBounds = nullptr;
    }
    m_boneMatrices = block.Array(matrixSlot);
    io::CopyRun(m_boneMatrices.get(), matrices, count);
}

// How many bones the arrays hold.
std::uint16_t vlMeshData::StoredBones() const
{
    return m_boneCount == kNoBones ? static_cast<std::uint16_t>(0) : m_boneCount;
}

std::string vlMeshData::BonesObstacle() const
{
    if (m_skeletonFlag != kSkinned || StoredBones() == 0)
        return {};
    if (m_boneParents.size() != m_boneCount)
        return "there are " + std::to_string(m_boneCount) + " bones and " +
               std::to_string(m_boneParents.size()) + " parents";
    return m_boneNames && m_boneMatrices ? "" : "the bone names or matrices are missing";
}

void vlMeshData::WriteBonesData(io::BlockWriter& out) const
{
    if (m_skeletonFlag != kSkinned)
        return;
    out.Value(m_boneCount);
    const std::uint16_t count = StoredBones();
    if (count == 0)
        return;
    out.Run(m_boneParents.data(), count);
    out.Run(m_boneNames.get(), count);
    const bool hasBounds = AllKnown(m_boneBounds.get(), count);
    out.Value(std::uint8_t{hasBounds});
    if (hasBounds)
        out.Run(m_boneBounds.get(), count);
    out.Run(m_boneMatrices.get(), count);
}

}  // namespace vela::vlgim
