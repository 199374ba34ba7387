#pragma once

#include <vlgim/Findings.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string_view>

namespace vela::vlgim::check {

/// All codes, as FindingCodes() gives them.
namespace codes {

using enum Severity;

inline constexpr FindingCode kTable[] = {
    {"unreadable", Error, false, "The file can't be read.",
     "Check that it exists and is a regular file; then check its permissions and the disk."},
    {"unknown-kind", Note, false,
     "Neither the file's name nor its first bytes show that it belongs to a model.",
     "Nothing, if it doesn't; a clip's side file is checked with the .gis file that names it."},
    {"memory-limit", Error, false, "Checking the file would take more memory than the limit allows.",
     "Check it alone with a higher limit; a small file that needs this much is damaged."},
    {"bad-xml", Error, false, "The document can't be parsed, or parsing would lose part of it.",
     "Fix it in a text editor at the reported line."},
    {"bad-header", Error, false, "The file doesn't begin the way files of its kind do.",
     "It is another kind of file, or it was truncated or overwritten: restore an older copy."},
    {"bad-version", Error, false, "The version of the file, or the branch it comes from, is not supported.",
     "Export it again, or read it with the tools it was made for."},
    {"damaged", Error, false,
     "Counts or offsets don't fit the file, or it asks for far more memory than its size justifies.",
     "It was truncated or overwritten, or read with the wrong submesh count: restore an older copy or "
     "export it again."},

    {"blocks-overlap", Error, false,
     "Blocks of the file overlap, so some bytes are read as two different things.",
     "A count or an offset was overwritten: restore an older copy or export it again."},

    {"missing-file", Error, false, "A file that belongs to this one doesn't exist.",
     "Add it; if the names differ only in case, rename one of the two."},
    {"no-submeshes", Error, false,
     "The manifest lists no submeshes, and the mesh can't be read without their number.",
     "Export the model again."},
    {"submesh-incomplete", Error, false,
     "A submesh in the manifest has no name or no material index, and loading stops before it.",
     "Add the attribute, as the other submeshes have it."},
    {"submesh-count", Error, false,
     "The mesh can't be read with the given submesh count, but can be with another one.",
     "The manifest and the mesh come from different exports: export both again."},
    {"material-index", Error, false, "A submesh refers to a material that the material group doesn't have.",
     "Set MtlIdx to an existing material, counted from 0, or add the material."},
    {"material-incomplete", Warning, false,
     "The document has no material group, or a material has no parameter table, and loading of materials "
     "stops there.",
     "Add MaterialGroup, or a Material/ParamTable (empty if there are no parameters)."},
    {"mesh-alone", Note, false, "The mesh was not read because its submesh count is unknown.",
     "Check its manifest instead, or give the submesh count."},

    {"mesh-magic", Warning, false,
     "The file doesn't begin with the four bytes of a mesh; readers ignore this.",
     "If it is a mesh, save it again: a save writes the right bytes."},
    {"not-finite", Warning, false, "Numbers are NaN or infinite.",
     "Export it again; look for zero scales and degenerate faces at the source."},
    {"index-range", Error, false, "Triangles refer to vertices that don't exist.",
     "Export the mesh again; a renderer that trusts these indices reads outside its buffers."},
    {"submesh-range", Warning, false,
     "The vertices or triangles of the submeshes don't add up to those of the mesh.",
     "Export it again; code that draws by submesh draws too much or reads outside the mesh."},
    {"no-vertex-data", Warning, false,
     "The mesh declares vertices or triangles but contains none; they are read as zeros.",
     "Export it again."},
    {"count-16-bit", Warning, false,
     "A count is above 65,535, and a query that returns it in 16 bits truncates it.",
     "Split the mesh, or take the counts from the vertex object."},
    {"bone-range", Error, false, "Vertices refer to bones that don't exist.",
     "Export the mesh and the skeleton together again."},
    {"bone-parent", Error, false, "A bone's parent doesn't exist, or the bone is its own ancestor.",
     "Export the skeleton again."},
    {"bone-name", Warning, false, "Several bones have the same name, and only the first is found by it.",
     "Rename the others and export again; names that differ only in case are the same here."},
    {"weight-sum", Warning, false, "The bone weights of some vertices don't add up to 1.",
     "Normalise the weights at the source; such vertices shrink towards the origin or fly away."},
    {"time-order", Warning, false, "Key times are not in ascending order, so searches miss keys.",
     "Sort the keys at the source and remove duplicates."},
    {"quaternion-zero", Warning, false, "A rotation is a quaternion of length 0, which is not a rotation.",
     "Export it again; (0, 0, 0, 1) is the identity."},
    {"quaternion-length", Warning, false,
     "A rotation is a quaternion that is not of unit length, so it also scales.",
     "Normalise it at the source."},
    {"rotation-order", Warning, false,
     "The order of a rotation's Euler angles is none of the six that exist.",
     "Export it again; how readers treat such a value is not defined."},
    {"skeleton-name", Warning, false,
     "A bone's name fills its 32 bytes, and readers that look for a terminating NUL run past it.",
     "Shorten it to at most 31 bytes."},
    {"clip-bone", Warning, false, "A clip animates a bone that the skeleton doesn't have.",
     "Rename the bone in the clip; skeleton names are in lower case, and names in clips have to be too."},
    {"clip-name", Warning, false,
     "Two clips have the same name; in side files they would share one file, and can't be saved.",
     "Rename one of them."},
    {"clip-renamed", Warning, false,
     "A clip's name in its side file differs from its name in the animation; a save uses the one in the "
     "side file.",
     "Give both the same name."},
    {"clip-layout", Warning, false,
     "The layout of a clip's key times is unknown, so none of its keys are read.", "Export the clip again."},
    {"clips-without-place", Warning, false,
     "The file counts clips in side files, but its version has no records for them.",
     "Export the animation again in version 6.1."},

    {"save-refused", Warning, false, "The file can be read but not saved.",
     "See the reason in the finding; fix this before saving."},
    {"save-version", Note, false, "A save writes the newest version.",
     "Nothing, unless older programs have to read the file."},
    {"save-floats", Note, false, "A save writes half floats as floats, with the same values.",
     "Nothing; half floats leave half of their space in the file unused, and those bytes are not kept."},
    {"save-lower-case", Note, false, "A save writes bone names in lower case, as they are read.",
     "Nothing; clips have to name bones in lower case."},
    {"save-mask", Note, false, "A save updates the mask of used bones.", "Nothing."},
    {"save-table", Note, false, "A save reorders the file's blocks or rewrites the table that lists them.",
     "Nothing."},
    {"save-collapses-keys", Note, false, "A save stores keys that are all the same only once.",
     "Nothing; such keys differ by at most 0.000001."},
    {"save-recodes-keys", Note, false,
     "A save re-encodes compressed keys; a rotation gets another code, for the same rotation or one a step "
     "away.",
     "Nothing; repeated saves don't drift."},
    {"save-moves-times", Warning, false,
     "A save changes key times: this version stores them as whole ticks, and these ticks don't survive the "
     "conversion.",
     "Export the animation again in a newer version."},
    {"save-ends-names", Note, false, "A save cuts a name to 31 bytes, or clears the bytes behind its end.",
     "Nothing."},
    {"save-header", Note, false, "A save writes a different header.", "Nothing."},
    {"save-fills-data", Note, false,
     "A save writes zeros for vertex data that the mesh declares but doesn't contain.",
     "Nothing; see no-vertex-data."},
    {"save-base-info", Note, false,
     "A save changes the animation's record of a clip, which differs from the clip in its side file.",
     "Nothing, unless a program reads the record without the clip: then save the file."},
    {"save-changes", Note, false, "A save writes a block with other bytes of the same meaning.", "Nothing."},
    {"save-drops-blocks", Warning, true, "The reader skips blocks of the mesh, and a save drops them.",
     "Keep the file, or export it again with one vertex block."},
    {"save-drops-keys", Warning, true,
     "Some keys are NaN, so all of them count as the same, and a save keeps only the first.",
     "Export it again without the NaN values."},
    {"save-drops-bounds", Warning, true,
     "The radius of a bone's bounds is NaN, so the bounds of all bones are dropped.",
     "Export it again; engines recompute the bounds."},
    {"save-drops-key-records", Warning, true,
     "The file has a record for each key of its animation, and these are not read.",
     "This library doesn't use them; keep the file if another program does."},
    {"save-drops-anim-bi", Warning, true, "The file has an anim-BI block, which is not read.",
     "This library doesn't use it; keep the file if another program does."},
    {"save-drops-pivot-track", Warning, true, "A clip has a pivot track, which is not read.",
     "This library doesn't use it; keep the file if another program does."},
    {"save-drops-bytes", Warning, true, "Some bytes of the file belong to no block.",
     "Usually padding; inspect them if another program may have put them there."},
};

constexpr const FindingCode* Find(std::string_view name)
{
    const auto* found = std::find_if(std::begin(kTable), std::end(kTable),
                                     [name](const FindingCode& code) { return code.name == name; });
    return found == std::end(kTable) ? nullptr : found;
}

}  // namespace codes

/// A code, made from its name in the table; any other name doesn't compile.
struct Code {
    consteval Code(const char* name) : index(static_cast<std::size_t>(codes::Find(name) - codes::kTable)) {}

    std::size_t index;
};

}  // namespace vela::vlgim::check
