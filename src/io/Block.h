#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vela::vlgim::io {

/// The blocks of all files. From FirstField on: fields in blocks whose places are recorded.
enum class Block : std::uint8_t {
    Header,

    AnimationBlock,
    MorphData,
    KeyRecords,
    Track,
    Channel,
    BonesBlock,
    AnimBI,
    TableOffset,
    ShareTable,
    SubmeshEntries,
    Submesh,
    VertexCounts,
    Positions,
    Normals,
    TangentFlag,
    Tangents,
    Triangles,
    Uvs,
    Colors,
    MorphFrames,
    BoneReferences,
    BoneWeights,
    UsedBones,
    VertexBlock,
    OriginalData,

    ClipCount,
    Skeleton,
    SideFiles,
    Clip,
    BaseInfo,
    ClipInfo,
    KeyTimes,
    Bone,
    PivotTrack,
    TransformKeys,

    FirstField,
    VersionWord = FirstField,
    TrackVersion,
    Totals,
    Parents,
    Names,
    BoundsFlag,
    Bounds,
    Matrices,
    Transforms,
    BoneNames,
    Layout,
    Times,
    Indices,
    Extra,
    References,
    Weights,
    PositionKeys,
    RotationKeys,
    ScaleKeys,
    FramePositions,
    Run,
};

/// Returns the name of a block for people, such as "bones block". Fields have no names.
const char* NameOf(Block block);

/// One step of the path to a place: a block, with its number if there are several.
struct Step {
    static constexpr std::int64_t kOnly = -1;

    Block block;
    std::int64_t number;

    friend bool operator==(const Step&, const Step&) = default;
};

/// Appends a step to a path: " / clip 2", or "clip 2" to an empty path. Omitted are fields, the animation block if
/// another block follows it, and the clip info inside a clip.
void AppendStep(std::string& path, const Step& step);

/// The places of the blocks in a file image: a tree in the order in which the reader reached them.
class BlockMap {
public:
    static constexpr std::uint32_t kNone = UINT32_MAX;

    struct Place {
        Step step;
        std::uint32_t parent;       ///< index of the enclosing place; kNone at the top
        std::uint32_t behind;       ///< index of the first place after it that is not inside it
        std::uint64_t offset, end;  ///< in bytes from the start of the file
    };

    std::vector<Place> places;

    /// Opens a place inside the current one.
    void Enter(const Step& step, std::uint64_t offset);

    /// Closes the current place.
    void Leave(std::uint64_t end);

    /// Records a place with nothing inside.
    void Note(const Step& step, std::uint64_t offset, std::uint64_t end)
    {
        Enter(step, offset);
        Leave(end);
    }

private:
    std::uint32_t m_open = kNone;
};

}  // namespace vela::vlgim::io
