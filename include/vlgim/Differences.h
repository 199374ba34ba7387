#pragma once

#include <vlgim/Export.h>
#include <vlgim/GimData.h>
#include <vlgim/GisData.h>
#include <vlgim/vlAnimData.h>
#include <vlgim/vlMeshData.h>
#include <vlgim/vlTrackData.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// Differences between two versions of a model, a skeleton, a mesh, an animation or a track. They are values.
namespace vela::vlgim {

/// One field that differs. It is reported once, for all its entries.
struct Difference {
    /// Name of the field: "positions", "bone 'arm_l' / matrix", "clip 'walk' / bone 'hips' / rotation", "material 'oak'
    /// / Gloss". Names in it are copied from the file and may contain any bytes.
    std::string field;

    /// The entry that differs most, or the first of several: "vertex 3, frame 1", "key 4 at 0.5". In a document the
    /// first place that differs: "Vela/SubMesh/a[2]@Name". Empty for a field with a single value.
    std::string where;

    /// For numbers, the largest distance of two components; infinity between a number and NaN. None for text, flags,
    /// references, and fields that one side lacks.
    std::optional<double> largest;

    std::uint64_t count = 1;  ///< number of entries that differ; 1 for a document

    /// The two values at that place as text. Numbers have the fewest digits that read back the same; several numbers
    /// are in parentheses. None: this side lacks the field. Empty for a thing without a value, such as a bone.
    std::optional<std::string> a, b;
};

struct CompareOptions {
    /// Two floats count as equal if no component differs by more than this; 0 or more. In documents it applies to
    /// values that are numbers, or lists of numbers, on both sides. Integers are always compared exactly.
    double tolerance = 0;
};

/// Compares everything that a file holds. Values that are computed from others, such as name ids and first vertices,
/// are not compared, nor are the paths of files. An array that is shorter than its count counts as absent. Time and
/// memory are proportional to the objects. Nothing is logged. Throws std::bad_alloc.
///
/// Floats are compared by value: 0 equals -0, and NaN equals any NaN. A quaternion and its negative count as the same
/// rotation. A component that has one key for all times is compared with each key of the other side.
///
/// Bones, clips and materials are matched by name; the k-th with a name is matched to the k-th with that name.
/// References to bones are compared by the bones that they refer to, so an added bone is one difference. An unmatched
/// entry counts as renamed if the entry at the same position of the other side has another name and is otherwise equal.
/// Submeshes, tracks, channels and original data are matched by position. A name ends at its first NUL.
///
/// If the counts of two arrays differ, only the counts are reported. Uvs and colours are compared for submeshes with
/// the same vertex range on both sides.
/// Returns the differences in the order of the file; empty if there are none.
[[nodiscard]] VLGIM_API std::vector<Difference> Compare(const vlMeshData& a, const vlMeshData& b,
                                                        const CompareOptions& options = {});
[[nodiscard]] VLGIM_API std::vector<Difference> Compare(const vlAnimData& a, const vlAnimData& b,
                                                        const CompareOptions& options = {});
[[nodiscard]] VLGIM_API std::vector<Difference> Compare(const vlTrackData& a, const vlTrackData& b,
                                                        const CompareOptions& options = {});

/// Compares all files of a model, or of a skeleton, in the same way. Submeshes are called by their names in `a`. A
/// document is compared as a whole if none of its records differs.
[[nodiscard]] VLGIM_API std::vector<Difference> Compare(const GimData& a, const GimData& b,
                                                        const CompareOptions& options = {});
[[nodiscard]] VLGIM_API std::vector<Difference> Compare(const GisData& a, const GisData& b,
                                                        const CompareOptions& options = {});

/// Returns the first difference of two documents; empty if there is none. Elements are compared in their order,
/// attributes in any order, and text. Comments and white space between tags are ignored.
[[nodiscard]] VLGIM_API std::vector<Difference> Compare(const vlio::XmlData& a, const vlio::XmlData& b,
                                                        const CompareOptions& options = {});

}  // namespace vela::vlgim
