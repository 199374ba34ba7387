#include "Check.h"
#include "Values.h"

#include <io/Errors.h>
#include <mesh/MeshBlocks.h>
#include <mesh/MeshVersions.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <tuple>

namespace vela::vlgim::check {

namespace {

const float* Floats(const Array<geomath::_Vector3<float>>& vectors, std::uint64_t first = 0)
{
    return reinterpret_cast<const float*>(vectors.data() + first);
}

void CheckCounts(const File& file, const vlMeshVertexData& v)
{
    std::uint64_t vertices = 0, triangles = 0;
    for (const SubmeshRecord& record : v.m_subRecords) {
        vertices += record.vertexCount;
        triangles += record.triangleCount;
    }
    if (vertices != v.m_vertexCount || triangles != v.m_triangleCount)
        file.Add("submesh-range", file.Find(Block::SubmeshEntries),
                 "the submeshes have " + std::to_string(vertices) + " vertices and " +
                     std::to_string(triangles) + " triangles in total, but the mesh has " +
                     std::to_string(v.m_vertexCount) + " and " + std::to_string(v.m_triangleCount));
    constexpr std::uint32_t kMost = std::numeric_limits<std::uint16_t>::max();
    if (std::max(v.m_vertexCount, v.m_triangleCount) > kMost)
        file.Add("count-16-bit", file.Find(Block::Totals),
                 Counted(v.m_vertexCount, "vertex", "vertices") + " and " +
                     Counted(v.m_triangleCount, "triangle", "triangles") + ", which a query truncates to " +
                     std::to_string(v.m_vertexCount & kMost) + " and " +
                     std::to_string(v.m_triangleCount & kMost));
}

void CheckFrames(const File& file, const vlMeshData& mesh)
{
    const vlMeshVertexData& v = *mesh.m_vertexData;
    const std::uint64_t count = v.m_vertexCount;
    // Half floats lie close together in the room of floats.
    const std::uint64_t size = mesh.m_packMode == kHalfPackMode ? 6 : 12;
    CheckFinite(file, file.Find(Block::Positions),
                {"positions", "vertex", Floats(v.m_positions), count, 3, size});
    CheckFinite(file, file.Find(Block::Normals), {"normals", "vertex", Floats(v.m_normals), count, 3});
    std::size_t run = file.Find(Block::MorphFrames);
    const auto checkFrame = [&](const char* what, const auto& vectors, std::uint64_t frame) {
        CheckFinite(file, ++run,
                    {what + (" of frame " + std::to_string(frame)), "vertex", Floats(vectors, frame * count),
                     count, 3});
    };
    for (std::uint64_t frame = 1; count != 0 && frame < v.m_frameCount; ++frame) {
        checkFrame("positions", v.m_positions, frame);
        checkFrame("normals", v.m_normals, frame);
    }
    if (v.m_tangents)
        CheckFinite(file, file.Find(Block::Tangents),
                    {"tangents", "entry", Floats(v.m_tangents), v.m_tangents.size(), 3});
}

void CheckUvs(const File& file, const vlMeshVertexData& v)
{
    std::size_t run = file.Find(Block::Uvs);
    for (std::uint32_t i = 0; i < v.m_subCount; ++i) {
        const SubmeshRecord& record = v.m_subRecords[i];
        for (unsigned set = 0; record.vertexCount != 0 && set < record.uvSetCount; ++set) {
            const std::uint64_t size = file.Size(++run) / record.vertexCount;
            CheckFinite(file, run,
                        {"uvs of set " + std::to_string(set) + " of submesh " + std::to_string(i),
                         "its vertex", &v.m_uvSets[set][record.firstVertex].u, record.vertexCount, 2, size});
        }
    }
}

void CheckIndices(const File& file, std::size_t field, const Array<std::uint16_t>& indices,
                  std::uint64_t vertexCount, bool areTriangles)
{
    // One pass without a branch first.
    std::uint16_t largest = 0;
    for (const std::uint16_t index : indices)
        largest = std::max(largest, index);
    if (indices.empty() || largest < vertexCount)
        return;
    Tally bad;
    for (std::size_t i = 0; i < indices.size(); ++i)
        if (indices[i] >= vertexCount)
            bad.Add(i);
    file.Add("index-range", field, sizeof largest * bad.first,
             Counted(bad.count, "index is", "indices are") + " out of range for " +
                 Counted(vertexCount, "vertex", "vertices") +
                 (areTriangles ? ", the largest is " + std::to_string(largest) + ", the first in triangle " +
                                     std::to_string(bad.first / 3)
                               : ", the first at index " + std::to_string(bad.first)));
}

constexpr float kWeightTolerance = 1e-3F;

// What holds for the bone slots of all vertices.
struct SlotTally {
    Tally badBones, badSums;
    float farthest = 1;

    // boneCount  of the mesh; none: the bones of another are meant
    SlotTally(const vlMeshSkelVertexData& skin, std::optional<std::uint16_t> boneCount)
    {
        const std::uint16_t* const bones = skin.m_boneIndices.data();
        const float* const weights = skin.m_boneWeights.data();
        for (std::uint64_t v = 0; v < skin.m_vertexCount; ++v) {
            float sum = 0;
            for (std::uint64_t slot = kSlots * v; slot < kSlots * (v + 1); ++slot) {
                sum += bones[slot] != mesh::kNoBone ? weights[slot] : 0;
                if (boneCount && bones[slot] >= *boneCount && bones[slot] != mesh::kNoBone &&
                    weights[slot] != 0)
                    badBones.Add(slot);
            }
            if (std::fabs(sum - 1) > kWeightTolerance) {
                badSums.Add(v);
                farthest = std::fabs(sum - 1) > std::fabs(farthest - 1) ? sum : farthest;
            }
        }
    }
};

void CheckSkin(const File& file, const vlMeshData& mesh)
{
    const auto* skin = dynamic_cast<const vlMeshSkelVertexData*>(mesh.m_vertexData.get());
    if (!skin)
        return;
    const std::size_t references = file.Find(Block::BoneReferences), weights = file.Find(Block::BoneWeights);
    const std::uint64_t vertexCount = skin->m_vertexCount;
    CheckFinite(file, weights, {"bone weights", "vertex", skin->m_boneWeights.data(), vertexCount, kSlots});
    std::optional<std::uint16_t> boneCount;
    if (mesh.m_skeletonFlag == kSkinned)
        boneCount = mesh::BoneCount(mesh);
    const SlotTally slots(*skin, boneCount);
    if (const auto [count, first] = slots.badBones; count != 0)
        file.Add("bone-range", references, first * (file.Size(references) / (kSlots * vertexCount)),
                 Counted(count, "reference", "references") + " with a weight to bones beyond the last of " +
                     std::to_string(*boneCount) + ", the first to bone " +
                     std::to_string(skin->m_boneIndices[first]) + " at vertex " +
                     std::to_string(first / kSlots));
    if (const auto [count, first] = slots.badSums; count != 0)
        file.Add("weight-sum", weights, first * kSlots * sizeof(float),
                 "the weights of " + Counted(count, "vertex", "vertices") + " of " +
                     std::to_string(vertexCount) + " don't add up to 1; the worst sum is " +
                     std::to_string(slots.farthest) + ", the first is vertex " + std::to_string(first));
}

// Follows the parents of each bone once: a bone that is met again on its own way up is its own ancestor.
void CheckParents(const File& file, std::size_t field, const std::vector<std::uint16_t>& parents)
{
    const std::uint64_t size = file.Size(field) / parents.size();
    std::vector<std::uint32_t> visitedBy(parents.size(), 0);  // by the walk of this bone, counted from 1
    const auto add = [&](std::size_t bone, const std::string& text) {
        file.Add("bone-parent", field, bone * size, "bone " + std::to_string(bone) + text);
    };
    for (std::size_t i = 0; i < parents.size(); ++i) {
        if (parents[i] != mesh::kNoBone && parents[i] >= parents.size())
            add(i, " has parent " + std::to_string(parents[i]) + ", but the bone count is " +
                       std::to_string(parents.size()));
        const auto walk = static_cast<std::uint32_t>(i + 1);
        std::size_t bone = i;
        while (bone < parents.size() && visitedBy[bone] == 0) {
            visitedBy[bone] = walk;
            bone = parents[bone];
        }
        if (bone < parents.size() && visitedBy[bone] == walk)
            add(bone, " is its own ancestor");
    }
}

void CheckAnimationBlock(const File& file, const vlMeshData& mesh)
{
    if (mesh.m_morph)
        CheckTimes(file, file.Find(Block::MorphData), mesh.m_morph->m_times.GetKeyTimes(),
                   mesh.m_morph->m_times.GetKeyCount());
    std::size_t place = 0;
    for (const vlTrackData& track : mesh.m_tracks) {
        place = file.Find(Block::Track, place);
        CheckTrackBlock(file, place++, track);
    }
}

void CheckOriginalData(const File& file, const vlMeshData& mesh)
{
    std::size_t block = 0;
    for (const auto& data : mesh.m_originalData) {
        block = file.Find(Block::OriginalData, block);
        const std::uint64_t count = data->m_origVertexCount;
        if (data->m_origPositions)
            CheckFinite(file, file.FindIn(block, Block::FramePositions),
                        {"positions", "vertex", Floats(data->m_origPositions), count, 3});
        CheckIndices(file, file.FindIn(block, Block::Indices), data->m_origIndices, count, false);
        if (data->m_origWeights)
            CheckFinite(file, file.FindIn(block, Block::Weights),
                        {"weights", "vertex", data->m_origWeights.data(), count, kSlots});
        ++block;
    }
}

// Whether a table tells the same of as many blocks once it is written, wherever these lie by then.
bool IsTableKept(ByteSpan old, ByteSpan now)
{
    vlDataShareTable oldTable, newTable;
    const bool areRead = oldTable.ReadData(old.data(), old.data() + old.size()) &&
                         newTable.ReadData(now.data(), now.data() + now.size());
    const auto told = [](const DataPair& pair) { return std::tie(pair.type, pair.index, pair.reserved); };
    return areRead && oldTable.m_blocks.size() == newTable.m_blocks.size() &&
           std::ranges::equal(oldTable.m_pairs, newTable.m_pairs, {}, told, told);
}

// Blocks whose bytes are the same in every version; those of the vertices are not, in part.
bool KeepsLayout(Block block)
{
    constexpr Block kAll[] = {Block::Channel,      Block::Track,      Block::VertexCounts,
                              Block::OriginalData, Block::ShareTable, Block::TangentFlag};
    return std::find(std::begin(kAll), std::end(kAll), block) != std::end(kAll);
}

// Whether a finding says what a save changes in the bones block.
bool CheckBones(const File& file, const vlMeshData& mesh)
{
    const std::size_t block = file.Find(Block::BonesBlock);
    const std::uint16_t count = mesh::BoneCount(mesh);
    if (block == Places::kNone || count == 0)
        return false;
    CheckParents(file, file.FindIn(block, Block::Parents), mesh.m_boneParents);
    const bool areRenamed = CheckBoneNames(file, file.FindIn(block, Block::Names), mesh.m_boneNames, count);
    if (mesh.m_boneBounds)
        CheckFinite(file, file.FindIn(block, Block::Bounds),
                    {"bounds of the bones", "bone", mesh.m_boneBounds[0].m_extents, count, 7});
    CheckFinite(file, file.FindIn(block, Block::Matrices),
                {"matrices of the bones", "bone", &mesh.m_boneMatrices[0].m[0][0], count, 16});
    return areRenamed || file.Has(Block::Bounds) != bool(mesh.m_boneBounds);
}

// Whether a save writes data that the mesh declares and does not hold.
bool CheckVertices(const File& file, const vlMeshData& mesh)
{
    const vlMeshVertexData& v = *mesh.m_vertexData;
    CheckCounts(file, v);
    if (file.Has(Block::Positions)) {
        CheckFrames(file, mesh);
        CheckIndices(file, file.Find(Block::Triangles), v.m_indices, v.m_vertexCount, true);
        CheckUvs(file, v);
        return false;
    }
    const bool areDeclared = v.m_vertexCount != 0 || v.m_triangleCount != 0;
    if (areDeclared)
        file.Add("no-vertex-data", file.Find(Block::VertexCounts),
                 "the data flag is 0, and " + Counted(v.m_vertexCount, "vertex", "vertices") + " and " +
                     Counted(v.m_triangleCount, "triangle", "triangles") + " are declared");
    return areDeclared;
}

// Whether a save writes another layout.
bool CheckUpgrade(const File& file, const vlMeshData& mesh)
{
    const std::size_t version = file.Find(Block::VersionWord);
    const std::uint64_t packMode = file.Size(version) - 1;
    const bool isOld = mesh.m_version < kNewestVersion;
    if (isOld)
        file.Add("save-version", version,
                 "a save writes version " + io::Hex(kNewestVersion) + " in place of " +
                     io::Hex(mesh.m_version));
    if (mesh.m_packMode == kHalfPackMode)
        file.Add("save-floats", version, packMode,
                 "a save writes positions and uvs as floats in place of half floats");
    else if (mesh.m_packMode != 0)
        file.Add("save-header", version, packMode,
                 "a save writes pack mode 0 in place of " + std::to_string(mesh.m_packMode) +
                     ", which means the same");
    return isOld || mesh.m_packMode == kHalfPackMode;
}

// What a save does not take along.
// passedOver  offsets of vertex blocks that are not read
void CheckDrops(const File& file, const vlMeshData& mesh, const std::vector<std::uint32_t>& passedOver)
{
    const std::size_t records = file.Find(Block::KeyRecords), animBI = file.Find(Block::AnimBI);
    const std::size_t entries = file.FindIn(file.Find(Block::ShareTable), Block::Indices);
    if (const std::uint64_t size = file.Size(records))
        file.Add("save-drops-key-records", records,
                 std::to_string(size) + " bytes of records for the keys of the animation are not kept");
    if (const std::uint64_t size = file.Size(animBI); size > 1)
        file.Add("save-drops-anim-bi", animBI,
                 "the anim-BI block of " + std::to_string(size) + " bytes is not kept");
    if (file.Has(Block::Bounds) && !mesh.m_boneBounds)
        file.Add("save-drops-bounds", file.Find(Block::BoundsFlag),
                 "the bounds of all bones are not kept, since the radius of one is NaN");
    std::uint64_t entry = 0;
    for (const std::uint32_t offset : passedOver)
        file.Add("save-drops-blocks", entries, entry += sizeof offset,
                 "a further vertex block, which begins at byte " + std::to_string(offset) +
                     ", is neither read nor kept");
}

class MeshCheck final : public ImageCheck {
public:
    MeshCheck(const Input& input, std::uint32_t count) : ImageCheck(input), m_submeshCount(count) {}

private:
    Error Read(io::BlockReader& in, const vlio::Bytes&) override
    {
        m_mesh.m_submeshCount = m_submeshCount;
        return mesh::ReadFile(in, m_mesh, &m_passedOver);
    }

    // A count that does not fit shows as damage somewhere in the vertices, so the file is asked which would.
    void ReportRefusal(const File& file, const Error& error) override
    {
        const auto fitting = vlMeshData::FittingSubmeshCounts(m_input.image.data(), m_input.image.size());
        if (error.kind == ErrorKind::MemoryLimit || fitting.empty() ||
            std::find(fitting.begin(), fitting.end(), m_submeshCount) != fitting.end())
            return file.report.Add(error);
        std::string counts = std::to_string(fitting[0]);
        if (fitting.size() > 1)
            counts += fitting.size() == 2 ? " or " + std::to_string(fitting[1])
                                          : " and " + std::to_string(fitting.size() - 1) + " larger counts";
        file.report.Add("submesh-count", {error.block, error.offset},
                        "the mesh does not fit " + std::to_string(m_submeshCount) + " submeshes, but fits " +
                            counts);
    }

    void CheckValues(const File& file) override
    {
        if (std::memcmp(m_input.image.data(), &kMeshMagic, sizeof kMeshMagic) != 0)
            file.Add("mesh-magic", file.Find(Block::Header), "the file does not begin with 34 80 C8 BB");
        CheckAnimationBlock(file, m_mesh);
        m_tellsOfBones = CheckBones(file, m_mesh);
        m_fillsData = CheckVertices(file, m_mesh);
        CheckSkin(file, m_mesh);
        CheckOriginalData(file, m_mesh);
        m_input.session.Step(file.report);
        m_hasOldLayout = CheckUpgrade(file, m_mesh);
        CheckDrops(file, m_mesh, m_passedOver);
        ReportUnread(file, m_input.image.size(), m_passedOver);
    }

    bool IsWritable() override { return Allows(WhyUnwritable(m_mesh)); }
    std::uint64_t WrittenSize() const override { return mesh::WrittenSize(*m_mesh.m_vertexData); }
    void Write(vlio::Sink& sink) override { mesh::WriteFile(sink, m_mesh); }
    void Drop() override { m_mesh = {}; }

    void ReportChange(const Change& change) override
    {
        const Block block = change.Of();
        if (m_hasOldLayout && !KeepsLayout(block))
            return;
        if (block == Block::Channel || block == Block::Track)
            return ReportChangedKeys(change);
        if (block == Block::TableOffset || block == Block::KeyRecords || block == Block::AnimBI ||
            (block == Block::BonesBlock && m_tellsOfBones) ||
            (block == Block::ShareTable && IsTableKept(change.Old(), change.New())))
            return;
        if (block == Block::Header)
            change.Add("save-header", "a save writes the magic word of a mesh");
        else if (block == Block::UsedBones)
            change.Add("save-mask", "a save updates the mask of used bones");
        else if (block == Block::ShareTable)
            change.Add("save-table", "a save rewrites the table of blocks");
        else if (block == Block::VertexCounts && m_fillsData)
            change.Add("save-fills-data",
                       "a save writes zeros for the data that the mesh declares and does not hold");
        else
            change.Add("save-changes", "a save writes this block in its own form");
    }

    std::uint32_t m_submeshCount;
    vlMeshData m_mesh;
    std::vector<std::uint32_t> m_passedOver;  // offsets of vertex blocks that are not read
    bool m_hasOldLayout = false;
    bool m_fillsData = false;     // a save writes data that the mesh declares and does not hold
    bool m_tellsOfBones = false;  // what a save changes in the bones block
};

// A mesh whose submeshes nobody can count: what is damaged whatever their number, or that it was not read.
void CheckUncounted(const Input& input, const std::string& why)
{
    io::BlockReader in(input.image);
    io::BlockMap map;
    in.Trace(map);
    in.LimitMemory(input.session.Left(input.image.size()));
    vlMeshData mesh;
    const Error error = mesh::ReadFile(in, mesh);
    const Places places(input.image, map);
    // Tracks, and the key records of old files, are as many as the submeshes.
    const bool dependsOnCount =
        places.Has(Block::TrackVersion) || places.Has(Block::KeyRecords) || places.Has(Block::SubmeshEntries);
    if (error && !dependsOnCount)
        input.report.Add(error);
    else
        input.report.Add("mesh-alone", {}, why);
}

}  // namespace

void CheckMesh(const Input& input, std::optional<std::uint32_t> submeshCount)
{
    const std::vector<std::uint32_t> counts =
        submeshCount ? std::vector{*submeshCount}
                     : vlMeshData::FittingSubmeshCounts(input.image.data(), input.image.size());
    if (counts.size() == 1)
        MeshCheck(input, counts[0]).Run();
    else
        CheckUncounted(input, counts.empty()
                                  ? "the submesh count is not in the file, and can't be worked out"
                                  : std::to_string(counts.size()) + " submesh counts fit the file");
}

}  // namespace vela::vlgim::check
