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

// What differs between two versions of a model, a mesh, an animation or a track: as values.
namespace vela::vlgim {

/// One field that differs, once for all its entries.
struct Difference {
    /// As in "positions", "bone 'arm_l' / matrix", "clip 'walk' / bone 'hips' / rotation", "material 'oak' / Gloss".
    /// Names in it are as they are in the file, any bytes.
    std::string field;

    /// The entry that differs most, the first of several: "vertex 3, frame 1", "key 4 at 0.5". In a document the first
    /// place that differs: "Vela/SubMesh/a[2]@Name". Empty for a field of one value.
    std::string where;

    /// Of numbers, the largest distance of two components; infinity between a number and NaN. None for text, flags,
    /// references, and what one side does not have.
    std::optional<double> largest;

    std::uint64_t count = 1;  ///< entries that differ; of a document 1

    /// The two values there, as text: numbers in the fewest digits that read back the same, several in parentheses.
    /// None: this side does not have it. Empty for a thing that has no value of its own, like a bone.
    std::optional<std::string> a, b;
};

struct CompareOptions {
    /// Distance up to which two floats, component by component, count as equal; 0 or more. In documents it holds for
    /// values that are numbers, or lists of them, on both sides. Integers are always compared exactly.
    double tolerance = 0;
};

/// Compares all that a file holds; not what is worked out from it, like name ids and first vertices, nor where a file
/// lies. Takes time and memory in proportion to the objects, which have to be fit to be written: arrays are as long as
/// their counts say. Nothing is logged. Throws std::bad_alloc.
///
/// Floats are compared by value: 0 equals -0, and NaN equals any NaN. A quaternion is compared by the nearer of it and
/// its negative. A component of a channel that stands once for all keys is compared with each key of the other side.
///
/// Bones, clips and materials belong together by name, the k-th of a name to the k-th; references to bones are compared
/// by the bones that they mean, so that one which was added is one difference. One of another name at the same place,
/// alike otherwise, was renamed. Submeshes, tracks, channels and original data belong together by position. Names end
/// at their NUL.
///
/// Of arrays whose counts differ, only the counts are named. Uvs and colours are compared in submeshes that are in the
/// same place in both.
/// Returns the differences in the order of the file; empty if there are none.
VLGIM_API std::vector<Difference> Compare(const vlMeshData& a, const vlMeshData& b,
                                          const CompareOptions& options = {});
VLGIM_API std::vector<Difference> Compare(const vlAnimData& a, const vlAnimData& b,
                                          const CompareOptions& options = {});
VLGIM_API std::vector<Difference> Compare(const vlTrackData& a, const vlTrackData& b,
                                          const CompareOptions& options = {});

/// The same for all files of a model, or of a skeleton. Submeshes go by the names in A. Documents of which no record
/// differs are compared whole.
VLGIM_API std::vector<Difference> Compare(const GimData& a, const GimData& b,
                                          const CompareOptions& options = {});
VLGIM_API std::vector<Difference> Compare(const GisData& a, const GisData& b,
                                          const CompareOptions& options = {});

/// The first difference of two documents: elements in their order, attributes in any order, text; no comments, and no
/// white space between tags.
VLGIM_API std::vector<Difference> Compare(const vlio::XmlData& a, const vlio::XmlData& b,
                                          const CompareOptions& options = {});

}  // namespace vela::vlgim
