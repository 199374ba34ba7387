#include "Parts.h"

namespace vela::vlgim::diff {

namespace {

using SubmeshNames = std::vector<SubmeshMessage>;

std::string BoneText(std::size_t bone, const Names& names)
{
    return bone < names.size() ? std::string(names[bone]) : std::to_string(bone);
}

// Compares references to bones by what they mean, and names what they mean: one number may mean two bones.
template <class T>
void CompareReferences(const Comparer& out, Run<T> a, Run<T> b, const Pairs& bones)
{
    if (!a.data || !b.data)
        return;
    const auto apart = [&bones](const T* x, const T* y, unsigned width) {
        for (unsigned i = 0; i < width; ++i)
            if (!bones.MeanTheSame(x[i], y[i]))
                return Distant{1, i};
        return Distant{};
    };
    const Largest first = Scan(a, b, apart, 0, bones.areSame);
    const auto text = [&first](const Run<T>& run, const Names& names) {
        return EntryText(run.At(first.entry), run.width, [&names](T bone) { return BoneText(bone, names); });
    };
    const std::string where = Nth("vertex")(first.entry);
    if (first.count != 0)
        out.Add({"bone references", where, {}, first.count, text(a, bones.a), text(b, bones.b)});
}

void CompareMorphs(const Comparer& out, const vlMeshData& a, const vlMeshData& b)
{
    if (!out.Both("morph", a.m_hasMorph && a.m_morph, b.m_hasMorph && b.m_morph))
        return;
    const Comparer morph = out.Within("morph");
    morph.Number("flag", a.m_hasMorph, b.m_hasMorph);
    morph.Number("mode", a.m_morph->m_morphMode, b.m_morph->m_morphMode);
    CompareTimes(morph, TimesOf(a.m_morph->m_times), TimesOf(b.m_morph->m_times));
}

// One version is stored for all tracks.
void CompareTracks(const Comparer& out, const vlMeshData& a, const vlMeshData& b, const SubmeshNames& names)
{
    if (!out.Both("tracks", a.m_hasTracks && a.m_tracks, b.m_hasTracks && b.m_tracks))
        return;
    out.Number("track flag", a.m_hasTracks, b.m_hasTracks);
    const auto count =
        std::min<std::size_t>({a.m_submeshCount, b.m_submeshCount, a.m_tracks.size(), b.m_tracks.size()});
    if (count != 0)
        out.Code("track version", a.m_tracks[0].m_version, b.m_tracks[0].m_version);
    for (std::size_t i = 0; i < count; ++i)
        CompareTracks(out.Within("track of " + SubmeshText(i, names)), a.m_tracks[i], b.m_tracks[i]);
}

Pairs CompareBones(const Comparer& out, const vlMeshData& a, const vlMeshData& b)
{
    const auto names = [](const vlMeshData& mesh) {
        return NamesOf(mesh.m_boneNames, std::min(mesh.m_boneParents.size(), mesh.m_boneMatrices.size()));
    };
    Pairs bones(names(a), names(b));
    if (bones.a.empty() && bones.b.empty())
        out.Number("bone count", a.m_boneCount, b.m_boneCount);
    const bool haveBounds =
        a.m_boneBounds.size() >= bones.a.size() && b.m_boneBounds.size() >= bones.b.size();
    CompareLists(out, "bone", bones, [&](const Comparer& bone, std::size_t i, std::size_t j) {
        const std::uint16_t parentA = a.m_boneParents[i], parentB = b.m_boneParents[j];
        if (!bones.MeanTheSame(parentA, parentB))
            bone.Text("parent", BoneText(parentA, bones.a), BoneText(parentB, bones.b));
        if (haveBounds)
            bone.Number("bounds", a.m_boneBounds[i], b.m_boneBounds[j]);
        bone.Number("matrix", a.m_boneMatrices[i], b.m_boneMatrices[j]);
    });
    if (!bones.a.empty() && !bones.b.empty())
        out.Both("bone bounds", bool(a.m_boneBounds), bool(b.m_boneBounds));
    return bones;
}

std::size_t SubmeshesOfBoth(const vlMeshVertexData& a, const vlMeshVertexData& b)
{
    return std::min<std::size_t>({a.m_subCount, b.m_subCount, a.m_subRecords.size(), b.m_subRecords.size()});
}

// The vertices of submeshes that have an attribute in both meshes, in the same place.
template <class Has>
std::vector<Range> CommonVertices(const vlMeshVertexData& a, const vlMeshVertexData& b, Has has)
{
    std::vector<Range> ranges;
    std::uint64_t firstA = 0, firstB = 0;
    for (std::size_t i = 0; i < SubmeshesOfBoth(a, b); ++i) {
        const SubmeshRecord &recordA = a.m_subRecords[i], &recordB = b.m_subRecords[i];
        if (firstA == firstB && recordA.vertexCount == recordB.vertexCount && has(recordA) && has(recordB))
            ranges.push_back({firstA, firstA + recordA.vertexCount});
        firstA += recordA.vertexCount;
        firstB += recordB.vertexCount;
    }
    return ranges;
}

// The attributes that only some submeshes have.
void CompareAttributes(const Comparer& out, const vlMeshVertexData& a, const vlMeshVertexData& b)
{
    const std::uint64_t vertices = std::min(a.m_vertexCount, b.m_vertexCount);
    const auto compare = [&](const std::string& field, auto runA, auto runB, auto has) {
        if (runA.data && runB.data)
            out.Runs(field, runA, runB, Nth("vertex"), ByComponent(), CommonVertices(a, b, has));
    };
    for (unsigned set = 0; set < std::size(a.m_uvSets); ++set)
        compare("uv set " + std::to_string(set), RunOf(a.m_uvSets[set], vertices),
                RunOf(b.m_uvSets[set], vertices),
                [set](const SubmeshRecord& record) { return set < record.uvSetCount; });
    const auto bytes = [](Run<std::uint32_t> colors) {
        return Run<unsigned char>{reinterpret_cast<const unsigned char*>(colors.data), colors.count, 4};
    };
    compare("colours", bytes(RunOf(a.m_colors, vertices)), bytes(RunOf(b.m_colors, vertices)),
            [](const SubmeshRecord& record) { return record.hasColors != 0; });
}

void CompareSubmeshes(const Comparer& out, const vlMeshVertexData& a, const vlMeshVertexData& b,
                      const SubmeshNames& names)
{
    for (std::size_t i = 0; i < SubmeshesOfBoth(a, b); ++i) {
        const SubmeshRecord &recordA = a.m_subRecords[i], &recordB = b.m_subRecords[i];
        const Comparer submesh = out.Within(SubmeshText(i, names));
        submesh.Number("vertex count", recordA.vertexCount, recordB.vertexCount);
        submesh.Number("triangle count", recordA.triangleCount, recordB.triangleCount);
        submesh.Number("uv sets", recordA.uvSetCount, recordB.uvSetCount);
        submesh.Number("colours", recordA.hasColors, recordB.hasColors);
    }
}

// Positions, normals and tangents: of the frames that both have, whose number the morph's keys tell.
void CompareFrames(const Comparer& out, const vlMeshVertexData& a, const vlMeshVertexData& b)
{
    const std::uint64_t vertices = a.m_vertexCount, frames = std::min(a.m_frameCount, b.m_frameCount);
    const auto where = [vertices, frames](std::uint64_t entry) {
        const std::string vertex = Nth("vertex")(entry % vertices);
        return frames > 1 ? vertex + ", frame " + std::to_string(entry / vertices) : vertex;
    };
    const auto compare = [&](const char* field, const auto& arrayA, const auto& arrayB) {
        out.Runs(field, RunOf(arrayA, frames * vertices), RunOf(arrayB, frames * vertices), where);
    };
    compare("positions", a.m_positions, b.m_positions);
    compare("normals", a.m_normals, b.m_normals);
    if (a.m_tangents && b.m_tangents)
        compare("tangents", a.m_tangents, b.m_tangents);
}

void CompareVertices(const Comparer& out, const vlMeshVertexData& a, const vlMeshVertexData& b,
                     const SubmeshNames& names)
{
    CompareSubmeshes(out, a, b, names);
    if (out.Number("vertex count", a.m_vertexCount, b.m_vertexCount))
        CompareFrames(out, a, b);
    out.Both("tangents", bool(a.m_tangents), bool(b.m_tangents));
    if (out.Number("triangle count", a.m_triangleCount, b.m_triangleCount))
        out.Runs("triangles", RunOf(a.m_indices, a.m_triangleCount, 3),
                 RunOf(b.m_indices, b.m_triangleCount, 3), Nth("triangle"));
    CompareAttributes(out, a, b);
}

// Bits of bones that both skeletons have, and of those that neither has.
void CompareMasks(const Comparer& out, const vlMeshSkelVertexData& a, const vlMeshSkelVertexData& b,
                  const Pairs& bones)
{
    const std::size_t sizeA = a.m_usedBones.size(), sizeB = b.m_usedBones.size();
    const bool areAsMany = bones.a.size() == bones.b.size();
    // Of skeletons of different sizes the masks differ in theirs.
    if (areAsMany && out.Number("used bones / bits", sizeA, sizeB))
        out.Number("used bones / bits written", a.m_usedBoneBits, b.m_usedBoneBits);
    const auto isSet = [](const std::vector<bool>& mask, std::size_t bit) {
        return bit < mask.size() && mask[bit];
    };
    std::size_t first = 0;
    std::uint64_t count = 0;
    for (std::size_t i = 0; i < std::max(sizeA, sizeB); ++i) {
        const bool isBone = i < bones.a.size() && !bones.b.empty();
        const std::size_t j = isBone ? bones.inB[i] : i;
        if (j != Pairs::kNone && (isBone || areAsMany) &&
            isSet(a.m_usedBones, i) != isSet(b.m_usedBones, j) && count++ == 0)
            first = i;
    }
    const bool bit = isSet(a.m_usedBones, first);
    const std::string where = first < bones.a.size() ? Quoted("bone", bones.a[first]) : Nth("bone")(first);
    if (count != 0)
        out.Add({"used bones", where, {}, count, TextOf(bit), TextOf(!bit)});
}

void CompareSkins(const Comparer& out, const vlMeshData& meshA, const vlMeshData& meshB, const Pairs& bones)
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

void CompareOriginalData(const Comparer& out, const vlOriginalData& a, const vlOriginalData& b,
                         const Pairs& bones)
{
    out.Code("type", a.m_type, b.m_type);
    const std::uint32_t vertices = a.m_origVertexCount;
    const bool areAsMany = out.Number("vertex count", vertices, b.m_origVertexCount);
    if (areAsMany)
        out.Runs("positions", RunOf(a.m_origPositions, vertices), RunOf(b.m_origPositions, vertices),
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
    return index < names.size() ? Quoted("submesh", names[index].name) : Nth("submesh")(index);
}

void CompareMeshes(const Comparer& out, const vlMeshData& a, const vlMeshData& b, const SubmeshNames& names)
{
    out.Code("version", a.m_version, b.m_version);
    out.Number("pack mode", a.m_packMode, b.m_packMode);
    out.Number("submesh count", a.m_submeshCount, b.m_submeshCount);
    out.Number("skeleton flag", a.m_skeletonFlag, b.m_skeletonFlag);
    CompareMorphs(out, a, b);
    CompareTracks(out, a, b, names);
    const Pairs bones = CompareBones(out, a, b);
    if (out.Both("vertices", a.m_vertexData != nullptr, b.m_vertexData != nullptr)) {
        CompareVertices(out, *a.m_vertexData, *b.m_vertexData, names);
        CompareSkins(out, a, b, bones);
    }
    out.Number("original data count", a.m_originalData.size(), b.m_originalData.size());
    for (std::size_t i = 0; i < std::min(a.m_originalData.size(), b.m_originalData.size()); ++i) {
        const auto &dataA = a.m_originalData[i], &dataB = b.m_originalData[i];
        const std::string name = Nth("original data")(i);
        if (out.Both(name, dataA != nullptr, dataB != nullptr))
            CompareOriginalData(out.Within(name), *dataA, *dataB, bones);
    }
}

}  // namespace vela::vlgim::diff
