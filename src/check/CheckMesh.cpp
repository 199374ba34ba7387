#include "Check.h"
#include "Inside.h"

#include <mesh/MeshVersions.h>
#include <vlgim/vlDataShareTable.h>
#include <vlgim/vlMeshData.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace vela::vlgim::check {

namespace {

constexpr std::uint16_t kNone = 0xFFFF;  // no bone, no parent; as a count of bones: none
constexpr std::uint64_t kSlots = 4;      // bone references of a vertex

// A mesh that was read, with where its blocks lie.
struct MeshFile {
    FileReport& report;
    const vlio::Bytes& image;
    const Places& places;
    const vlMeshData& mesh;
    std::uint64_t vertexCount =
        mesh.m_vertexData->m_vertexCount;  // which hold when the vertices are gone, too
    std::uint64_t triangleCount = mesh.m_vertexData->m_triangleCount;

    const vlMeshVertexData& Vertices() const { return *mesh.m_vertexData; }
    bool HasHalves() const { return mesh.m_packMode == 1; }
    std::uint64_t At(const char* block) const { return places.Offset(block); }
    std::uint16_t BoneCount() const
    {
        return mesh.m_boneCount == kNone ? std::uint16_t{0} : mesh.m_boneCount;
    }

    bool HasBones() const { return mesh.m_skeletonFlag == kSkinned && BoneCount() != 0; }

    void Add(Code code, const char* block, std::uint64_t offset, const std::string& text) const
    {
        report.Add(code, {block, offset}, text);
    }
};

const float* Floats(const geomath::_Vector3<float>* vectors)
{
    return &vectors->x;
}

void CheckFrames(const MeshFile& file)
{
    const vlMeshVertexData& v = file.Vertices();
    const std::uint64_t count = 3 * std::uint64_t{v.m_vertexCount};
    if (count == 0)
        return;
    const auto check = [&](const char* block, const std::string& what, const float* values,
                           std::uint64_t offset, std::uint64_t stride) {
        CheckFinite(file.report, block, {what, "vertex", values, count, 3, offset, stride});
    };
    const std::uint64_t perFrame = count * sizeof(float), frames = file.At("morph frames");
    check("positions", "positions", Floats(v.m_positions.get()), file.At("positions"),
          file.HasHalves() ? 2 : 4);
    check("normals", "normals", Floats(v.m_normals.get()), file.At("normals"), 4);
    for (std::uint64_t frame = 1; frame < v.m_frameCount; ++frame) {
        const std::uint64_t start = frames + (frame - 1) * 2 * perFrame, first = frame * v.m_vertexCount;
        check("morph frames", "positions of frame " + std::to_string(frame),
              Floats(v.m_positions.get() + first), start, 4);
        check("morph frames", "normals of frame " + std::to_string(frame), Floats(v.m_normals.get() + first),
              start + perFrame, 4);
    }
    if (v.m_tangents)
        CheckFinite(file.report, "tangents",
                    {"tangents", "entry", Floats(v.m_tangents.get()), count * v.m_frameCount, 3,
                     file.At("tangents"), 4});
}

void CheckUvs(const MeshFile& file)
{
    const vlMeshVertexData& v = file.Vertices();
    const std::uint64_t stride = file.HasHalves() ? 2 : 4;
    std::uint64_t offset = file.At("uvs");
    for (std::uint32_t i = 0; i < v.m_subCount; ++i) {
        const SubmeshRecord& record = v.m_subRecords[i];
        const std::uint64_t count = 2 * std::uint64_t{record.vertexCount};
        for (std::uint8_t set = 0; count != 0 && set < record.uvSetCount; ++set) {
            CheckFinite(file.report, "uvs",
                        {"uvs of set " + std::to_string(set) + " of submesh " + std::to_string(i),
                         "its vertex", &v.m_uvSets[set][record.firstVertex].u, count, 2, offset, stride});
            offset += count * stride;
        }
    }
}

void CheckTriangles(const MeshFile& file)
{
    const vlMeshVertexData& v = file.Vertices();
    const std::uint16_t* const indices = v.m_indices.get();
    const std::uint64_t count = 3 * std::uint64_t{v.m_triangleCount};
    std::uint16_t largest = 0;
    for (std::uint64_t i = 0; i < count; ++i)
        largest = std::max(largest, indices[i]);
    if (count == 0 || largest < v.m_vertexCount)
        return;
    Tally bad;
    for (std::uint64_t i = 0; i < count; ++i)
        if (indices[i] >= v.m_vertexCount)
            bad.Add(i);
    file.Add(Code::IndexRange, "triangles", file.At("triangles") + 2 * bad.first,
             Counted(bad.count, "index is", "indices are") + " beyond the last of " +
                 Counted(v.m_vertexCount, "vertex", "vertices") + ", up to " + std::to_string(largest) +
                 ", the first in triangle " + std::to_string(bad.first / 3));
}

void CheckCounts(const MeshFile& file)
{
    const vlMeshVertexData& v = file.Vertices();
    std::uint64_t vertices = 0, triangles = 0;
    for (std::uint32_t i = 0; i < v.m_subCount; ++i) {
        vertices += v.m_subRecords[i].vertexCount;
        triangles += v.m_subRecords[i].triangleCount;
    }
    if (vertices != v.m_vertexCount || triangles != v.m_triangleCount)
        file.Add(Code::SubmeshRange, "submesh entries", file.At("submesh entries"),
                 "the submeshes have " + std::to_string(vertices) + " vertices and " +
                     std::to_string(triangles) + " triangles together, and the mesh has " +
                     std::to_string(v.m_vertexCount) + " and " + std::to_string(v.m_triangleCount));
    constexpr std::uint32_t kMost = std::numeric_limits<std::uint16_t>::max();
    if (std::max(v.m_vertexCount, v.m_triangleCount) > kMost)
        file.Add(Code::Count16Bit, "vertex counts", file.At("vertex counts") + 2,
                 Counted(v.m_vertexCount, "vertex", "vertices") + " and " +
                     Counted(v.m_triangleCount, "triangle", "triangles") + ", of which a query hands out " +
                     std::to_string(v.m_vertexCount & kMost) + " and " +
                     std::to_string(v.m_triangleCount & kMost));
}

void CheckVertices(const MeshFile& file)
{
    const vlMeshVertexData& v = file.Vertices();
    CheckCounts(file);
    if (file.places.Find("positions") != Places::kNone) {
        CheckFrames(file);
        CheckTriangles(file);
        CheckUvs(file);
    } else if (v.m_vertexCount != 0 || v.m_triangleCount != 0) {
        file.Add(Code::NoVertexData, "vertex counts", file.At("vertex counts"),
                 "the data flag is 0, and " + Counted(v.m_vertexCount, "vertex", "vertices") + " and " +
                     Counted(v.m_triangleCount, "triangle", "triangles") + " are declared");
    }
}

constexpr float kWeightTolerance = 1e-3F;

void CheckSkin(const MeshFile& file)
{
    const auto* skin = dynamic_cast<const vlMeshSkelVertexData*>(&file.Vertices());
    if (!skin)
        return;
    const std::uint16_t* const bones = skin->m_boneIndices.get();
    const float* const weights = skin->m_boneWeights.get();
    const std::uint16_t boneCount = file.BoneCount();
    const bool hasBones =
        file.mesh.m_skeletonFlag == kSkinned;  // under another flag those of another mesh are meant
    const std::uint64_t vertexCount = skin->m_vertexCount;
    CheckFinite(
        file.report, "bone weights",
        {"bone weights", "vertex", weights, kSlots * vertexCount, kSlots, file.At("bone weights"), 4});
    Tally badBones, badSums;
    float farthest = 1;
    for (std::uint64_t v = 0; v < vertexCount; ++v) {
        float sum = 0;
        for (std::uint64_t slot = kSlots * v; slot < kSlots * (v + 1); ++slot) {
            sum += bones[slot] != kNone ? weights[slot] : 0;
            if (hasBones && bones[slot] >= boneCount && bones[slot] != kNone && weights[slot] != 0)
                badBones.Add(slot);
        }
        if (std::fabs(sum - 1) > kWeightTolerance) {
            badSums.Add(v);
            farthest = std::fabs(sum - 1) > std::fabs(farthest - 1) ? sum : farthest;
        }
    }
    const std::uint64_t referenceSize = file.mesh.m_version >= kWideParentVersion ? 2 : 1;
    if (badBones.count != 0)
        file.Add(Code::BoneRange, "bone references",
                 file.At("bone references") + badBones.first * referenceSize,
                 Counted(badBones.count, "reference", "references") +
                     " with a weight to bones beyond the last of " + std::to_string(boneCount) +
                     ", the first is bone " + std::to_string(bones[badBones.first]) + " at vertex " +
                     std::to_string(badBones.first / kSlots));
    if (badSums.count != 0)
        file.Add(Code::WeightSum, "bone weights",
                 file.At("bone weights") + badSums.first * kSlots * sizeof(float),
                 "the weights of " + Counted(badSums.count, "vertex", "vertices") + " of " +
                     std::to_string(vertexCount) + " sum to something else than 1, the farthest to " +
                     std::to_string(farthest) + ", the first is vertex " + std::to_string(badSums.first));
}

// Where the parts of the bones block lie in the file.
struct BonePlaces {
    std::uint64_t parents, names, boundsFlag, bounds, matrices;
    bool hasBounds;

    explicit BonePlaces(const MeshFile& file)
    {
        const std::uint64_t count = file.BoneCount();
        parents = file.At("bones block") + 2;
        names = parents + count * (file.mesh.m_version >= kWideParentVersion ? 2 : 1);
        boundsFlag = names + 32 * count;
        bounds = boundsFlag + 1;
        hasBounds = file.image[boundsFlag] != 0;
        matrices = bounds + (hasBounds ? count * sizeof(BoundingInfo) : 0);
    }
};

// Follows the parents of each bone once: a bone that is met again on its own way up is its own ancestor.
void CheckParents(const MeshFile& file, std::uint64_t offset)
{
    const std::vector<std::uint16_t>& parents = file.mesh.m_boneParents;
    const std::uint64_t size = file.mesh.m_version >= kWideParentVersion ? 2 : 1;
    std::vector<std::uint32_t> visitedBy(parents.size(), 0);  // by the walk of this bone, counted from 1
    for (std::size_t i = 0; i < parents.size(); ++i) {
        const std::string who = "bone " + std::to_string(i);
        if (parents[i] != kNone && parents[i] >= parents.size())
            file.Add(Code::BoneParent, "bones block", offset + i * size,
                     who + " has the parent " + std::to_string(parents[i]) + ", and there are " +
                         std::to_string(parents.size()) + " bones");
        const auto walk = static_cast<std::uint32_t>(i + 1);
        std::size_t bone = i;
        while (bone < parents.size() && visitedBy[bone] == 0) {
            visitedBy[bone] = walk;
            bone = parents[bone];
        }
        if (bone < parents.size() && visitedBy[bone] == walk)
            file.Add(Code::BoneParent, "bones block", offset + bone * size,
                     "bone " + std::to_string(bone) + " is among its own ancestors");
    }
}

void CheckBones(const MeshFile& file)
{
    const vlMeshData& mesh = file.mesh;
    const std::uint16_t count = file.BoneCount();
    if (!file.HasBones())
        return;
    const BonePlaces at(file);
    CheckParents(file, at.parents);
    CheckBoneNames(file.report, "bones block", file.image, at.names, mesh.m_boneNames.get(), count);
    if (mesh.m_boneBounds)
        CheckFinite(file.report, "bones block",
                    {"bounds of the bones", "bone", mesh.m_boneBounds[0].m_extents, 7 * std::uint64_t{count},
                     7, at.bounds, 4});
    CheckFinite(file.report, "bones block",
                {"matrices of the bones", "bone", &mesh.m_boneMatrices[0].m[0][0], 16 * std::uint64_t{count},
                 16, at.matrices, 4});
}

void CheckAnimationBlock(const MeshFile& file)
{
    const vlMeshData& mesh = file.mesh;
    if (mesh.m_morph)
        CheckTimes(file.report, "morph data", mesh.m_morph->m_times.GetKeyTimes(),
                   mesh.m_morph->m_times.GetKeyCount(), file.At("morph data") + 3);
    std::size_t place = 0;
    for (std::uint32_t i = 0; mesh.m_tracks && i < mesh.m_submeshCount; ++i) {
        place = file.places.Find("track", place);
        CheckTrackBlock(file.report, file.places, place, mesh.m_tracks[i]);
        ++place;
    }
}

void CheckOriginalData(const MeshFile& file)
{
    std::size_t place = 0;
    for (const auto& data : file.mesh.m_originalData) {
        place = file.places.Find("original data", place);
        const std::string block = file.places.Path(place);
        const std::uint64_t count = data->m_origVertexCount, start = file.places[place++].offset;
        const std::uint64_t indices = start + 8 + 12 * count;
        if (count != 0)
            CheckFinite(
                file.report, block,
                {"positions", "vertex", Floats(data->m_origPositions.get()), 3 * count, 3, start + 4, 4});
        Tally bad;
        for (std::uint32_t i = 0; i < data->m_origIndexCount; ++i)
            if (data->m_origIndices[i] >= count)
                bad.Add(i);
        if (bad.count != 0)
            file.report.Add(Code::IndexRange, {block, indices + 2 * bad.first},
                            Counted(bad.count, "index is", "indices are") + " beyond the last of " +
                                Counted(count, "vertex", "vertices") + ", the first is index " +
                                std::to_string(bad.first));
        const std::uint64_t weights = indices + 2 * std::uint64_t{data->m_origIndexCount} + 4 +
                                      4 * std::uint64_t{data->m_origExtraCount} + 1 + kSlots * count;
        if (data->m_origWeights)
            CheckFinite(file.report, block,
                        {"weights", "vertex", data->m_origWeights.get(), kSlots * count, kSlots, weights, 4});
    }
}

// The blocks that the table gives to vertices and no reader reads: all such but the first.
std::vector<std::uint32_t> PassedOver(const MeshFile& file)
{
    vlDataShareTable table;
    table.ReadData(file.image.data() + file.At("share table"), file.image.data() + file.image.size());
    const auto isVertex = [](const DataPair& pair) { return pair.type == MESH_DATA_VERTEX; };
    const auto pairs = std::count_if(table.m_pairs.begin(), table.m_pairs.end(), isVertex);
    const auto end = std::clamp<std::ptrdiff_t>(pairs, 1, std::ssize(table.m_blocks));
    return {table.m_blocks.begin() + 1, table.m_blocks.begin() + end};
}

std::uint64_t SizeOf(const MeshFile& file, const char* block)
{
    const std::size_t place = file.places.Find(block);
    return place == Places::kNone ? 0 : file.places[place].end - file.places[place].offset;
}

bool DropsBounds(const MeshFile& file)
{
    return BonePlaces(file).hasBounds && !file.mesh.m_boneBounds;
}

// What a save does not take along.
void CheckDrops(const MeshFile& file)
{
    if (const std::uint64_t size = SizeOf(file, "key records"))
        file.Add(Code::SaveDropsKeyRecords, "key records", file.At("key records"),
                 std::to_string(size) + " bytes of records for the keys of the animation are not kept");
    if (const std::uint64_t size = SizeOf(file, "anim-BI block"); size > 1)
        file.Add(Code::SaveDropsAnimBI, "anim-BI block", file.At("anim-BI block"),
                 "the anim-BI block of " + std::to_string(size) + " bytes is not kept");
    if (file.HasBones() && DropsBounds(file))
        file.Add(Code::SaveDropsBounds, "bones block", BonePlaces(file).boundsFlag,
                 "the bounds of all bones are not kept, since the radius of one is NaN");
    const std::vector<std::uint32_t> passedOver = PassedOver(file);
    for (std::size_t i = 0; i < passedOver.size(); ++i)  // entry 0 of the table, behind its count, is read
        file.Add(Code::SaveDropsBlocks, "share table", file.At("share table") + 2 + 4 * (i + 1),
                 "a further vertex block, which begins at byte " + std::to_string(passedOver[i]) +
                     ", is neither read nor kept");
    ReportUnread(file.report, file.places, file.image.size(), passedOver);
}

void CheckUpgrade(const MeshFile& file)
{
    if (file.mesh.m_version < kNewestVersion)
        file.Add(Code::SaveVersion, "header", 4,
                 "a save writes version " + Hex(kNewestVersion) + " in place of " + Hex(file.mesh.m_version));
    if (file.HasHalves())
        file.Add(Code::SaveFloats, "header", 7,
                 "a save writes positions and uvs as floats, and the file has half floats");
    else if (file.mesh.m_packMode != 0)
        file.Add(Code::SaveHeader, "header", 7,
                 "a save writes pack mode 0 in place of " + std::to_string(file.mesh.m_packMode) +
                     ", which means the same");
}

bool HasOurMagic(const vlio::Bytes& image)
{
    return std::memcmp(image.data(), &kMeshMagic, sizeof kMeshMagic) == 0;
}

bool HasChangedNames(const MeshFile& file)
{
    return ChangedNames(file.image, BonePlaces(file).names, file.mesh.m_boneNames.get(), file.BoneCount())
               .count != 0;
}

// Blocks of which a save drops something, or whose names it changes.
bool IsToldOf(const MeshFile& file, std::string_view block)
{
    return block == "key records" || block == "anim-BI block" ||
           (block == "bones block" && (HasChangedNames(file) || DropsBounds(file)));
}

bool HasOldLayout(const vlMeshData& mesh)
{
    return mesh.m_version < kNewestVersion || mesh.m_packMode == 1;
}

// Whether a table tells the same of as many blocks once it is written, wherever these lie by then.
bool IsTableKept(const unsigned char* old, const unsigned char* now, std::uint64_t size)
{
    vlDataShareTable oldTable, newTable;
    oldTable.ReadData(old, old + size);
    newTable.ReadData(now);
    const auto tells = [](const DataPair& a, const DataPair& b) {
        return a.type == b.type && a.index == b.index && a.reserved == b.reserved;
    };
    return oldTable.m_blocks.size() == newTable.m_blocks.size() &&
           std::equal(oldTable.m_pairs.begin(), oldTable.m_pairs.end(), newTable.m_pairs.begin(),
                      newTable.m_pairs.end(), tells);
}

// Blocks whose bytes are the same in every version; those of the vertices are not, in part.
bool KeepsLayout(std::string_view block)
{
    return block == "channel" || block == "track" || block == "vertex counts" || block == "original data" ||
           block == "share table" || block == "tangent flag";
}

// One block that is written with other bytes than it was read from.
void ReportChange(const MeshFile& file, std::size_t place, ByteSpan bytes, ByteSpan now)
{
    const io::BlockMap::Place& old = file.places[place];
    const std::string_view block = old.block;
    if (HasOldLayout(file.mesh) && (!KeepsLayout(block) || old.end == old.offset))
        return;
    const Where where{file.places.Path(place), old.offset};
    const auto add = [&](Code code, const char* text) { file.report.Add(code, where, text); };
    if (block == "header")
        add(Code::SaveHeader, "a save writes the magic word of a mesh");
    else if (block == "channel")
        ReportChangedKeys(file.report, where, bytes.data(), now.data());
    else if (block == "track")
        ReportChangedTrack(file.report, where, bytes.data(), now.data());
    else if (block == "vertex counts" && file.places.Find("positions") == Places::kNone &&
             file.vertexCount + file.triangleCount != 0)
        add(Code::SaveFillsData, "a save writes zeros for the data that the mesh declares and does not hold");
    else if (block == "used bones")
        add(Code::SaveMask, "a save brings the mask of used bones up to date");
    else if (block == "share table" && !IsTableKept(bytes.data(), now.data(), bytes.size()))
        add(Code::SaveTable, "a save writes the table of blocks anew");
    else if (block != "table offset" && block != "share table" && !IsToldOf(file, block))
        add(Code::SaveChanges, "a save writes this block in its own form");
}

// Why a mesh could not be read. A count that does not fit shows as damage somewhere in the vertices, so the file is
// asked which would.
void ReportUnreadMesh(FileReport& report, const vlio::Bytes& image, std::uint32_t submeshCount,
                      const io::BlockReader& in, const Places& places)
{
    const std::vector<std::uint32_t> fitting = vlMeshData::FittingSubmeshCounts(image.data(), image.size());
    if (in.HitLimit() || fitting.empty() ||
        std::find(fitting.begin(), fitting.end(), submeshCount) != fitting.end())
        return ReportRefusal(report, in, places, image.size());
    std::string counts = std::to_string(fitting[0]);
    if (fitting.size() > 1)
        counts += fitting.size() == 2 ? " or " + std::to_string(fitting[1])
                                      : " and " + std::to_string(fitting.size() - 1) + " larger numbers";
    report.Add(Code::SubmeshCount, {places.Path(places.Count() - 1), in.WhyRefused().offset},
               "the mesh does not fit " + std::to_string(submeshCount) + " submeshes, and fits " + counts);
}

void ReportVersion(FileReport& report, const vlMeshData& mesh)
{
    report.Add(Code::BadVersion, {"header", 4},
               "meshes of version 0x50000 to 0x50004 are read, and this is " + Hex(mesh.m_version));
}

// Whether all that was read depends on no submesh count: tracks, and the key records of old files, are as many as that.
bool IsCountless(const Places& places, std::uint32_t version)
{
    std::size_t flags = Places::kNone;
    for (std::size_t i = places.Find("animation block"); i != Places::kNone;
         i = places.Find("animation block", i + 1))
        flags = i;
    if (flags == Places::kNone || places.Count() == flags + 1)
        return true;
    const bool hasTracks = places[flags].end - places[flags].offset > 1;
    const bool hasRecords = version < kNoKeyRecordsVersion && places.Find("morph data") != Places::kNone;
    return !hasTracks && (!hasRecords || places.Count() == flags + 2);
}

}  // namespace

void CheckMeshUncounted(const Session& session, FileReport& report, const vlio::Bytes& image,
                        const std::string& why)
{
    io::BlockReader in(image.data(), image.data() + image.size(), "header");
    in.LimitMemory(session.Left(image.size()));
    io::BlockMap map;
    in.Trace(map);
    vlMeshData mesh;
    const bool isWhole = Inside::Read(mesh, in);
    map.End(in.Offset());
    const Places places(map);
    if (!isWhole && !in.Failed())
        ReportVersion(report, mesh);
    else if (!isWhole && places.Find("submesh entries") == Places::kNone &&
             IsCountless(places, mesh.m_version))
        ReportRefusal(report, in, places, image.size());
    else
        report.Add(Code::MeshAlone, {}, why);
}

void CheckMesh(Session& session, FileReport& report, const vlio::Bytes& image, std::uint32_t submeshCount)
{
    const std::uint64_t limit = session.Left(image.size());
    io::BlockReader in(image.data(), image.data() + image.size(), "header");
    io::BlockMap map;
    in.Trace(map);
    in.LimitMemory(limit);
    vlMeshData mesh;
    mesh.m_submeshCount = submeshCount;
    const bool isWhole = Inside::Read(mesh, in);
    map.End(in.Offset());
    session.Step(report);
    const Places places(map);
    if (!isWhole && !in.Failed())
        return report.Add(Code::BadVersion, {"header", 4},
                          "meshes of version 0x50000 to 0x50004 are read, and this is " +
                              Hex(mesh.m_version));
    if (!isWhole)
        return ReportUnreadMesh(report, image, submeshCount, in, places);

    const MeshFile file{report, image, places, mesh};
    if (!HasOurMagic(image))
        file.Add(Code::MeshMagic, "header", 0, "the file does not begin with 34 80 C8 BB");
    CheckAnimationBlock(file);
    CheckBones(file);
    CheckVertices(file);
    CheckSkin(file);
    CheckOriginalData(file);
    session.Step(report);
    CheckUpgrade(file);
    CheckDrops(file);

    if (const std::string obstacle = mesh.WriteObstacle(); !obstacle.empty())
        return report.Add(Code::SaveRefused, {}, obstacle);
    SavedImage saved(image.data(), image.size(),
                     std::max<std::uint64_t>(image.size(), file.Vertices().WrittenSize()),
                     Left(limit, in.Spent()), file.At("table offset"));
    mesh.WriteMeshFile(saved.Stream());
    // Two images and one mesh at a time.
    mesh.m_vertexData.reset();
    mesh.m_tracks.reset();
    mesh.m_originalData.clear();
    const auto read = [submeshCount](io::BlockReader& back) {
        vlMeshData again;
        again.m_submeshCount = submeshCount;
        Inside::Read(again, back);
    };
    const bool isRead = CheckSaved(
        session, report, image, places, saved, image.size(), read,
        [&file](std::size_t place, ByteSpan old, ByteSpan now) { ReportChange(file, place, old, now); });
    // All blocks are the same, and have another order or no longer lie on one another.
    if (isRead && !saved.IsSame() && !report.TellsOfSave())
        file.Add(Code::SaveTable, "share table", file.At("share table"),
                 "a save writes the blocks one behind the other");
}

}  // namespace vela::vlgim::check
