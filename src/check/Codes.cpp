#include "Codes.h"

#include <vlgim/Findings.h>

#include <algorithm>
#include <array>

namespace vela::vlgim {

namespace {

using enum Severity;

struct Row {
    check::Code code;
    FindingCode entry;
};

constexpr Row kRows[] = {
    {check::Code::Unreadable,
     {"unreadable", Error, false, "The file can't be read from the disk.",
      "Look at its permissions and at the disk; a folder, a pipe or a device is no model file."}},
    {check::Code::UnknownKind,
     {"unknown-kind", Note, false, "Neither the name nor the first bytes say that it is a file of a model.",
      "Nothing, if it is none; a clip's side file is checked with the .gis file that names it."}},
    {check::Code::MemoryLimit,
     {"memory-limit", Error, false, "A check of the file would take more memory than it was allowed.",
      "Check it alone with a higher limit; a small file that asks for so much is damaged."}},
    {check::Code::BadXml,
     {"bad-xml", Error, false, "The document can't be read, or would not be read as it is written.",
      "Mend it in a text editor at the line that is given."}},
    {check::Code::BadHeader,
     {"bad-header", Error, false, "The file does not begin as a file of its kind has to.",
      "It is another kind of file under this name, was cut, or was overwritten: fetch an older copy."}},
    {check::Code::BadVersion,
     {"bad-version", Error, false, "The file has a version, or belongs to a branch, that is not read here.",
      "Export it again, or read it with the tools that it was made for."}},
    {check::Code::Damaged,
     {"damaged", Error, false,
      "The file's counts and offsets do not fit its bytes, or it asks for memory out of proportion.",
      "It was cut or overwritten, or read with a wrong submesh count: fetch an older copy or export it "
      "again."}},

    {check::Code::BlocksOverlap,
     {"blocks-overlap", Error, false,
      "Blocks of the file lie on one another, so that bytes are read as two things.",
      "A count or an offset was overwritten: fetch an older copy or export it again."}},

    {check::Code::MissingFile,
     {"missing-file", Error, false, "A file that belongs to this one is not there.",
      "Put it there; where the name differs in upper and lower case alone, rename one of the two."}},
    {check::Code::NoSubmeshes,
     {"no-submeshes", Error, false,
      "The manifest lists no submeshes, and without their number no mesh can be read.",
      "Export the model again."}},
    {check::Code::SubmeshIncomplete,
     {"submesh-incomplete", Error, false,
      "A submesh of the manifest has no name or no material index; loading ends ahead of it.",
      "Add the attribute, as the other submeshes have it."}},
    {check::Code::SubmeshCount,
     {"submesh-count", Error, false,
      "The mesh can't be read with as many submeshes as were told, and can with another number.",
      "Manifest and mesh are not of one export: export both again."}},
    {check::Code::MaterialIndex,
     {"material-index", Error, false, "A submesh names a material that the material group does not have.",
      "Set MtlIdx to one of the materials, counted from 0, or add the material."}},
    {check::Code::MaterialIncomplete,
     {"material-incomplete", Warning, false,
      "The document has no group of materials, or a material no table of parameters; loading of materials "
      "ends there.",
      "Add MaterialGroup, or Material/ParamTable, empty if it has no parameters."}},
    {check::Code::MeshAlone,
     {"mesh-alone", Note, false, "The mesh was not read, since nothing tells how many submeshes it has.",
      "Check its manifest, or tell the number."}},

    {check::Code::MeshMagic,
     {"mesh-magic", Warning, false, "The first four bytes are not those of a mesh; readers pass over them.",
      "Save it again if it is a mesh: a save sets them."}},
    {check::Code::NotFinite,
     {"not-finite", Warning, false, "Numbers are NaN or infinite.",
      "Export it again; look for zero scales and empty faces at the source."}},
    {check::Code::IndexRange,
     {"index-range", Error, false, "Triangles name vertices beyond the last.",
      "Export the mesh again; a renderer that trusts them reads outside of its buffers."}},
    {check::Code::SubmeshRange,
     {"submesh-range", Warning, false,
      "The submeshes together have other vertices or triangles than the mesh.",
      "Export it again: whoever draws a submesh draws too much, or outside of the mesh."}},
    {check::Code::NoVertexData,
     {"no-vertex-data", Warning, false,
      "The mesh declares vertices or triangles and holds none of them; all are read as zeros.",
      "Export it again."}},
    {check::Code::Count16Bit,
     {"count-16-bit", Warning, false,
      "A count is above 65,535, and a query that hands it out in 16 bits cuts it.",
      "Split the mesh, or take the counts from the vertex object."}},
    {check::Code::BoneRange,
     {"bone-range", Error, false, "Vertices refer to bones that don't exist.",
      "Export mesh and skeleton together again."}},
    {check::Code::BoneParent,
     {"bone-parent", Error, false, "A bone's parent does not exist, or the bone is among its own ancestors.",
      "Export the skeleton again."}},
    {check::Code::BoneName,
     {"bone-name", Warning, false, "Several bones have one name, and only the first is found by it.",
      "Rename one of them and export again; upper and lower case are alike here."}},
    {check::Code::WeightSum,
     {"weight-sum", Warning, false, "The bone weights of vertices do not sum to 1.",
      "Normalise the weights at the source: such vertices shrink towards the origin or fly away."}},
    {check::Code::TimeOrder,
     {"time-order", Warning, false,
      "Key times do not ascend, and searches among them find less than there is.",
      "Sort the keys at the source and remove doubles."}},
    {check::Code::QuaternionZero,
     {"quaternion-zero", Warning, false, "A rotation is a quaternion of length 0, which is no rotation.",
      "Export it again; (0, 0, 0, 1) does not rotate."}},
    {check::Code::QuaternionLength,
     {"quaternion-length", Warning, false,
      "A rotation is a quaternion that is not of unit length, and scales what it rotates.",
      "Normalise it at the source."}},
    {check::Code::RotationOrder,
     {"rotation-order", Warning, false, "A rotation has an order of its angles that is none of the six.",
      "Export it again; what a reader makes of it is not settled."}},
    {check::Code::SkeletonName,
     {"skeleton-name", Warning, false,
      "A bone's name fills its 32 bytes, so that nothing ends it for readers that look for an end.",
      "Give it a name of 31 bytes at the most."}},
    {check::Code::ClipBone,
     {"clip-bone", Warning, false, "A clip animates a bone that the skeleton does not have.",
      "Rename the bone; names of a skeleton are in lower case, and those of a clip have to be."}},
    {check::Code::ClipName,
     {"clip-name", Warning, false,
      "Two clips have one name; in side files they would be one file, and the animation can't be saved.",
      "Rename one of them."}},
    {check::Code::ClipRenamed,
     {"clip-renamed", Warning, false,
      "A clip has another name in its side file than in the animation; a save goes by the one in the side "
      "file.",
      "Give both the same name."}},
    {check::Code::ClipLayout,
     {"clip-layout", Warning, false,
      "A clip's layout of key times is none that is known, so that no keys are read.",
      "Export the clip again."}},
    {check::Code::ClipsWithoutPlace,
     {"clips-without-place", Warning, false,
      "The file counts clips in side files, and its version has no place for them.",
      "Export the animation again in version 6.1."}},

    {check::Code::SaveRefused,
     {"save-refused", Warning, false, "The file can be read and not be saved.",
      "See the reason; what keeps it from being saved has to be mended first."}},
    {check::Code::SaveVersion,
     {"save-version", Note, false, "A save writes the newest version.",
      "Nothing, unless older programs have to read it."}},
    {check::Code::SaveFloats,
     {"save-floats", Note, false, "A save writes half floats as floats, with the same values.",
      "Nothing; the unused half of their room in the file, which nobody reads, is not kept."}},
    {check::Code::SaveLowerCase,
     {"save-lower-case", Note, false, "A save writes the names of bones in lower case, as they are read.",
      "Nothing; clips have to name bones in lower case."}},
    {check::Code::SaveMask,
     {"save-mask", Note, false, "A save brings the mask of used bones up to date.", "Nothing."}},
    {check::Code::SaveTable,
     {"save-table", Note, false,
      "A save puts the blocks of the file, or the table that tells of them, in its own order.", "Nothing."}},
    {check::Code::SaveCollapsesKeys,
     {"save-collapses-keys", Note, false, "A save writes keys that are all alike once.",
      "Nothing; such keys differ by 0.000001 at the most."}},
    {check::Code::SaveRecodesKeys,
     {"save-recodes-keys", Note, false,
      "A save works small forms of keys out anew, and gets other codes for the same rotation or one a step "
      "away.",
      "Nothing; saving it again and again does not wander off."}},
    {check::Code::SaveMovesTimes,
     {"save-moves-times", Warning, false,
      "A save moves key times: a file of this version keeps them in whole ticks, and these do not come back.",
      "Export the animation again in a newer version."}},
    {check::Code::SaveEndsNames,
     {"save-ends-names", Note, false, "A save cuts a name at 31 bytes, or sets bytes behind its end to 0.",
      "Nothing."}},
    {check::Code::SaveHeader, {"save-header", Note, false, "A save writes another header.", "Nothing."}},
    {check::Code::SaveFillsData,
     {"save-fills-data", Note, false,
      "A save writes the zeros that are read where the mesh holds no vertex data.",
      "Nothing; see no-vertex-data."}},
    {check::Code::SaveBaseInfo,
     {"save-base-info", Note, false,
      "A save writes another record of a clip in a side file: what the animation says of it differs from the "
      "clip.",
      "Nothing, unless a program reads the record without the clip: then save it."}},
    {check::Code::SaveChanges,
     {"save-changes", Note, false, "A save writes a block with other bytes, of the same meaning.",
      "Nothing."}},
    {check::Code::SaveDropsBlocks,
     {"save-drops-blocks", Warning, true, "The reader passes over blocks of the mesh, and a save drops them.",
      "Keep the file; or export again with one vertex block."}},
    {check::Code::SaveDropsKeys,
     {"save-drops-keys", Warning, true,
      "Keys of which some are NaN count as all alike, and a save keeps the first alone.",
      "Export it again without the NaN."}},
    {check::Code::SaveDropsBounds,
     {"save-drops-bounds", Warning, true,
      "The radius of a bone's bounds is NaN, so that the bounds of all bones are dropped.",
      "Export it again; engines work them out anew."}},
    {check::Code::SaveDropsKeyRecords,
     {"save-drops-key-records", Warning, true,
      "The file has records for each key of its animation, which are not read.",
      "Nothing here uses them; keep the file if another program does."}},
    {check::Code::SaveDropsAnimBI,
     {"save-drops-anim-bi", Warning, true, "The file has an anim-BI block, which is not read.",
      "Nothing here uses it; keep the file if another program does."}},
    {check::Code::SaveDropsPivotTrack,
     {"save-drops-pivot-track", Warning, true, "A clip has a pivot track, which is not read.",
      "Nothing here uses it; keep the file if another program does."}},
    {check::Code::SaveDropsBytes,
     {"save-drops-bytes", Warning, true, "Bytes of the file belong to no block.",
      "Usually padding; look at them if another program may have put them there."}},
};

static_assert(std::size(kRows) == check::kCodeCount);
static_assert(std::all_of(std::begin(kRows), std::end(kRows), [](const Row& row) {
    return static_cast<std::ptrdiff_t>(row.code) == &row - kRows;
}));

constexpr auto kTable = [] {
    std::array<FindingCode, check::kCodeCount> table{};
    std::transform(std::begin(kRows), std::end(kRows), table.begin(),
                   [](const Row& row) { return row.entry; });
    return table;
}();

}  // namespace

std::span<const FindingCode> FindingCodes()
{
    return kTable;
}

const FindingCode* FindFindingCode(std::string_view name)
{
    const auto* found = std::find_if(kTable.begin(), kTable.end(),
                                     [name](const FindingCode& code) { return code.name == name; });
    return found == kTable.end() ? nullptr : found;
}

}  // namespace vela::vlgim
