#include "MeshDifferences.h"

#include "Channels.h"
#include "Pairs.h"

namespace vela::vlgim {

namespace diff {

namespace {

using SubmeshNames = std::vector<SubmeshMessage>;

constexpr unsigned kFloatsOfBounds = sizeof(BoundingInfo) / sizeof(float);

constexpr auto kNowhere = [](std::uint64_t) { return std::string(); };

// Names an entry by its number.
auto Nth(const char* kind)
{
    return [kind](std::uint64_t entry) { return kind + (" " + std::to_string(entry)); };
}

Run<float> Floats(const Array<geomath::_Vector3<float>>& vectors, std::uint64_t count)
{
    return {count != 0 && count <= vectors.size() ? &vectors[0].x : nullptr, count, 3};
}

// The bones of both meshes.
struct Bones {
    Names a, b;
    Pairs pairs;
};

std::string BoneText(std::size_t bone, const Names& names)
{
    return bone < names.size() ? std::string(names[bone]) : std::to_string(bone);
}

// Names, since one number may mean two bones.
template <class T>
std::string ReferencesText(const T* references, unsigned width, const Names& names)
{
    std::string text;
    for (unsigned i = 0; i < width; ++i)
        text += (i ? ", " : "(") + BoneText(references[i], names);
    return text + ")";
}

// Compares references to bones by what they mean.
template <class T>
void CompareReferences(Comparer& out, Run<T> a, Run<T> b, const Bones& bones)
{
    const auto apart = [&bones](const T* x, const T* y, unsigned width) {
        for (unsigned i = 0; i < width; ++i)
            if (!bones.pairs.MeanTheSame(x[i], y[i]))
                return Distant{1, i};
        return Distant{};
    };
    if (!a.data || !b.data)
        return;
    Largest first;
    Scan(a, b, 0, apart, 0, bones.pairs.IsIdentity(), first);
    if (first.count != 0)
        out.Add({"bone references",
                 Nth("vertex")(first.entry),
                 {},
                 first.count,
                 ReferencesText(a.At(first.entry), a.width, bones.a),
                 ReferencesText(b.At(first.entry), b.width, bones.b)});
}

void CompareMorphs(Comparer& out, const vlMeshData& a, const vlMeshData& b)
{
    if (!out.Both("morph", a.m_hasMorph && a.m_morph, b.m_hasMorph && b.m_morph))
        return;
    const Comparer::Scope scope(out, "morph");
    out.Number("flag", a.m_hasMorph, b.m_hasMorph);
    out.Number("mode", a.m_morph->m_morphMode, b.m_morph->m_morphMode);
    CompareTimes(out, TimesOf(a.m_morph->m_times), TimesOf(b.m_morph->m_times));
}

// One version is stored for all tracks.
void CompareTracks(Comparer& out, const vlMeshData& a, const vlMeshData& b, const SubmeshNames& names)
{
    if (!out.Both("tracks", a.m_hasTracks && a.m_tracks, b.m_hasTracks && b.m_tracks))
        return;
    out.Number("track flag", a.m_hasTracks, b.m_hasTracks);
    const std::size_t count =
        std::min<std::size_t>({a.m_submeshCount, b.m_submeshCount, a.m_tracks.size(), b.m_tracks.size()});
    if (count != 0)
        out.Code("track version", a.m_tracks[0].m_version, b.m_tracks[0].m_version);
    for (std::size_t i = 0; i < count; ++i) {
        const Comparer::Scope scope(out, "track of " + SubmeshText(i, names));
        CompareTracks(out, a.m_tracks[i], b.m_tracks[i]);
    }
}

Names BoneNames(const vlMeshData& mesh)
{
    Names names;
    const std::size_t count =
        std::min({mesh.m_boneParents.size(), mesh.m_boneNames.size(), mesh.m_boneMatrices.size()});
    for (std::size_t i = 0; i < count; ++i)
        names.push_back(mesh.m_boneNames[i].View());
    return names;
}

Bones CompareBones(Comparer& out, const vlMeshData& a, const vlMeshData& b)
{
    const Names namesA = BoneNames(a), namesB = BoneNames(b);
    Bones bones{namesA, namesB, Pairs(namesA, namesB)};
    if (namesA.empty() && namesB.empty()) {
        out.Number("bone count", a.m_boneCount, b.m_boneCount);
        return bones;
    }
    const bool haveBounds = a.m_boneBounds.size() >= namesA.size() && b.m_boneBounds.size() >= namesB.size();
    CompareLists(out, "bone", namesA, namesB, bones.pairs, [&](std::size_t i, std::size_t j) {
        if (!bones.pairs.MeanTheSame(a.m_boneParents[i], b.m_boneParents[j]))
            out.Text("parent", BoneText(a.m_boneParents[i], namesA), BoneText(b.m_boneParents[j], namesB));
        if (haveBounds)
            out.Runs("bounds", Run<float>{a.m_boneBounds[i].m_extents, 1, kFloatsOfBounds},
                     Run<float>{b.m_boneBounds[j].m_extents, 1, kFloatsOfBounds}, kNowhere);
        out.Runs("matrix", Run<float>{a.m_boneMatrices[i].m[0], 1, 16},
                 Run<float>{b.m_boneMatrices[j].m[0], 1, 16}, kNowhere);
    });
    if (!namesA.empty() && !namesB.empty())
        out.Both("bone bounds", bool(a.m_boneBounds), bool(b.m_boneBounds));
    return bones;
}

std::size_t SubmeshesOfBoth(const vlMeshVertexData& a, const vlMeshVertexData& b)
{
    return std::min<std::size_t>({a.m_subCount, b.m_subCount, a.m_subRecords.size(), b.m_subRecords.size()});
}

std::uint8_t UvSets(const vlMeshVertexData& mesh, const SubmeshRecord& record)
{
    std::uint8_t sets = 0;
    while (sets < record.uvSetCount && sets < std::size(mesh.m_uvSets) &&
           mesh.m_uvSets[sets].size() >= mesh.m_vertexCount)
        ++sets;
    return sets;
}

// The attributes that only some submeshes have, in those that both meshes have in the same place.
void CompareRuns(Comparer& out, const vlMeshVertexData& a, const vlMeshVertexData& b)
{
    const auto uvs = [](const vlMeshVertexData& mesh, unsigned set, std::uint64_t first,
                        std::uint64_t count) {
        return Run<float>{&mesh.m_uvSets[set].data()[first].u, count, 2};
    };
    const auto colors = [](const vlMeshVertexData& mesh, std::uint64_t first, std::uint64_t count) {
        return Run<unsigned char>{reinterpret_cast<const unsigned char*>(mesh.m_colors.data() + first), count,
                                  4};
    };
    Largest uvsApart[4], colorsApart;
    std::uint64_t firstA = 0, firstB = 0;
    for (std::size_t i = 0; i < SubmeshesOfBoth(a, b); ++i) {
        const SubmeshRecord &recordA = a.m_subRecords[i], &recordB = b.m_subRecords[i];
        const std::uint64_t first = firstA, count = recordA.vertexCount;
        const bool isSamePlace = firstA == firstB && count == recordB.vertexCount &&
                                 first + count <= std::min(a.m_vertexCount, b.m_vertexCount);
        firstA += recordA.vertexCount;
        firstB += recordB.vertexCount;
        if (!isSamePlace || count == 0)
            continue;
        const unsigned sets = std::min(UvSets(a, recordA), UvSets(b, recordB));
        for (unsigned set = 0; set < sets; ++set)
            out.Measure(uvs(a, set, first, count), uvs(b, set, first, count), first, uvsApart[set]);
        if (recordA.hasColors && recordB.hasColors &&
            first + count <= std::min(a.m_colors.size(), b.m_colors.size()))
            out.Measure(colors(a, first, count), colors(b, first, count), first, colorsApart);
    }
    for (unsigned set = 0; set < std::size(uvsApart); ++set)
        if (uvsApart[set].count)
            out.NameLargest("uv set " + std::to_string(set), uvs(a, set, 0, 0), uvs(b, set, 0, 0),
                            uvsApart[set], Nth("vertex"));
    if (colorsApart.count)
        out.NameLargest("colours", colors(a, 0, 0), colors(b, 0, 0), colorsApart, Nth("vertex"));
}

void CompareSubmeshes(Comparer& out, const vlMeshVertexData& a, const vlMeshVertexData& b,
                      const SubmeshNames& names)
{
    for (std::size_t i = 0; i < SubmeshesOfBoth(a, b); ++i) {
        const SubmeshRecord &recordA = a.m_subRecords[i], &recordB = b.m_subRecords[i];
        const Comparer::Scope scope(out, SubmeshText(i, names));
        out.Number("vertex count", recordA.vertexCount, recordB.vertexCount);
        out.Number("triangle count", recordA.triangleCount, recordB.triangleCount);
        out.Number("uv sets", recordA.uvSetCount, recordB.uvSetCount);
        out.Number("colours", recordA.hasColors, recordB.hasColors);
    }
}

// Positions, normals and tangents: of the frames that both have, whose number the morph's keys tell.
void CompareFrames(Comparer& out, const vlMeshVertexData& a, const vlMeshVertexData& b)
{
    const std::uint64_t vertices = a.m_vertexCount, frames = std::min(a.m_frameCount, b.m_frameCount);
    const auto where = [vertices, frames](std::uint64_t entry) {
        const std::string vertex = "vertex " + std::to_string(entry % vertices);
        return frames > 1 ? vertex + ", frame " + std::to_string(entry / vertices) : vertex;
    };
    const auto compare = [&](const char* field, const auto& arrayA, const auto& arrayB) {
        out.Runs(field, Floats(arrayA, frames * vertices), Floats(arrayB, frames * vertices), where);
    };
    compare("positions", a.m_positions, b.m_positions);
    compare("normals", a.m_normals, b.m_normals);
    if (a.m_tangents && b.m_tangents)
        compare("tangents", a.m_tangents, b.m_tangents);
}

void CompareVertices(Comparer& out, const vlMeshVertexData& a, const vlMeshVertexData& b,
                     const SubmeshNames& names)
{
    CompareSubmeshes(out, a, b, names);
    if (out.Number("vertex count", a.m_vertexCount, b.m_vertexCount))
        CompareFrames(out, a, b);
    out.Both("tangents", bool(a.m_tangents), bool(b.m_tangents));
    if (out.Number("triangle count", a.m_triangleCount, b.m_triangleCount))
        out.Runs("triangles", RunOf(a.m_indices, a.m_triangleCount, 3),
                 RunOf(b.m_indices, b.m_triangleCount, 3), Nth("triangle"));
    CompareRuns(out, a, b);
}

// Bits of bones that both skeletons have, and of those that neither has.
void CompareMasks(Comparer& out, const vlMeshSkelVertexData& a, const vlMeshSkelVertexData& b,
                  const Bones& bones)
{
    const std::size_t sizeA = a.m_usedBones.size(), sizeB = b.m_usedBones.size();
    const bool areAsMany = bones.a.size() == bones.b.size();
    // Of skeletons of different sizes the masks differ in theirs.
    if (areAsMany && out.Number("used bones / bits", sizeA, sizeB))
        out.Number("used bones / bits written", a.m_usedBoneBits, b.m_usedBoneBits);
    const auto isSet = [](const std::vector<bool>& mask, std::size_t bit) {
        return bit < mask.size() && mask[bit];
    };
    std::string where;
    bool firstBit = false;
    std::uint64_t count = 0;
    for (std::size_t i = 0; i < std::max(sizeA, sizeB); ++i) {
        const bool isBone = i < bones.a.size() && !bones.b.empty();
        const std::size_t j = isBone ? bones.pairs.InB(i) : i;
        if (j == Pairs::kNone || (!isBone && !areAsMany))
            continue;
        if (isSet(a.m_usedBones, i) == isSet(b.m_usedBones, j))
            continue;
        if (count++ != 0)
            continue;
        where = i < bones.a.size() ? Quoted("bone", bones.a[i]) : "bone " + std::to_string(i);
        firstBit = isSet(a.m_usedBones, i);
    }
    if (count != 0)
        out.Add({"used bones", where, {}, count, TextOf(int{firstBit}), TextOf(int{!firstBit})});
}

void CompareSkins(Comparer& out, const vlMeshData& meshA, const vlMeshData& meshB, const Bones& bones)
{
    const auto* a = dynamic_cast<const vlMeshSkelVertexData*>(meshA.m_vertexData.get());
    const auto* b = dynamic_cast<const vlMeshSkelVertexData*>(meshB.m_vertexData.get());
    if (!out.Both("skin", a != nullptr, b != nullptr) || !a || !b)
        return;
    const unsigned width = a->m_maxBoneRefCount;
    if (out.Number("bone references of a vertex", width, b->m_maxBoneRefCount) &&
        a->m_vertexCount == b->m_vertexCount && a->m_vertexCount != 0 && width != 0) {
        CompareReferences(out, RunOf(a->m_boneIndices, a->m_vertexCount, width),
                          RunOf(b->m_boneIndices, b->m_vertexCount, width), bones);
        out.Runs("bone weights", RunOf(a->m_boneWeights, a->m_vertexCount, width),
                 RunOf(b->m_boneWeights, b->m_vertexCount, width), Nth("vertex"));
    }
    CompareMasks(out, *a, *b, bones);
}

void CompareOriginalData(Comparer& out, const vlOriginalData& a, const vlOriginalData& b, const Bones& bones)
{
    out.Code("type", a.m_type, b.m_type);
    const std::uint32_t vertices = a.m_origVertexCount;
    const bool areAsMany = out.Number("vertex count", vertices, b.m_origVertexCount);
    if (areAsMany)
        out.Runs("positions", Floats(a.m_origPositions, vertices), Floats(b.m_origPositions, vertices),
                 Nth("vertex"));
    if (out.Number("index count", a.m_origIndexCount, b.m_origIndexCount))
        out.Runs("indices", RunOf(a.m_origIndices, a.m_origIndexCount),
                 RunOf(b.m_origIndices, b.m_origIndexCount), Nth("index"));
    if (out.Number("extra count", a.m_origExtraCount, b.m_origExtraCount))
        out.Runs("extra values", RunOf(a.m_origExtra, a.m_origExtraCount),
                 RunOf(b.m_origExtra, b.m_origExtraCount), Nth("value"));
    const auto hasSkin = [](const vlOriginalData& data) {
        return data.m_origBones && data.m_origWeights && data.m_origVertexCount != 0;
    };
    if (!areAsMany || !out.Both("skin", hasSkin(a), hasSkin(b)))
        return;
    CompareReferences(out, RunOf(a.m_origBones, vertices, 4), RunOf(b.m_origBones, vertices, 4), bones);
    out.Runs("bone weights", RunOf(a.m_origWeights, vertices, 4), RunOf(b.m_origWeights, vertices, 4),
             Nth("vertex"));
}

}  // namespace

std::string SubmeshText(std::size_t index, const SubmeshNames& names)
{
    return index < names.size() ? Quoted("submesh", names[index].name) : "submesh " + std::to_string(index);
}

void CompareMeshes(Comparer& out, const vlMeshData& a, const vlMeshData& b, const SubmeshNames& names)
{
    out.Code("version", a.m_version, b.m_version);
    out.Number("pack mode", a.m_packMode, b.m_packMode);
    out.Number("submesh count", a.m_submeshCount, b.m_submeshCount);
    out.Number("skeleton flag", a.m_skeletonFlag, b.m_skeletonFlag);
    CompareMorphs(out, a, b);
    CompareTracks(out, a, b, names);
    const Bones bones = CompareBones(out, a, b);
    if (out.Both("vertices", a.m_vertexData != nullptr, b.m_vertexData != nullptr)) {
        CompareVertices(out, *a.m_vertexData, *b.m_vertexData, names);
        CompareSkins(out, a, b, bones);
    }
    out.Number("original data count", a.m_originalData.size(), b.m_originalData.size());
    for (std::size_t i = 0; i < std::min(a.m_originalData.size(), b.m_originalData.size()); ++i) {
        const auto &dataA = a.m_originalData[i], &dataB = b.m_originalData[i];
        const std::string name = "original data " + std::to_string(i);
        if (!out.Both(name, dataA != nullptr, dataB != nullptr))
            continue;
        const Comparer::Scope scope(out, name);
        CompareOriginalData(out, *dataA, *dataB, bones);
    }
}

}  // namespace diff

std::vector<Difference> Compare(const vlMeshData& a, const vlMeshData& b, const CompareOptions& options)
{
    diff::Comparer out(options);
    diff::CompareMeshes(out, a, b, {});
    return out.Take();
}

}  // namespace vela::vlgim
