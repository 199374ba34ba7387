#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vela::vlgim::io {

/// The blocks of all files and, behind Block::FirstField, the fields in them that a place is noted for.
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
    FrameNormals,
    UvRun,
};

/// As people know it: "bones block". Of blocks alone: fields have no names of their own.
const char* NameOf(Block block);

/// A step on the way to a place: a block, with its number where it is one of several.
struct Step {
    static constexpr std::int64_t kOnly = -1;

    Block block;
    std::int64_t number;

    friend bool operator==(const Step&, const Step&) = default;
};

/// Appends " / clip 2", or "clip 2" to nothing. Passed over are fields, the animation block where something inside of it
/// follows, and the info of a clip behind the clip.
void AppendStep(std::string& path, const Step& step);

/// Where the blocks of a file image lie, as a tree in the order in which a reader came to them.
class BlockMap {
public:
    static constexpr std::uint32_t kNone = UINT32_MAX;

    struct Place {
        Step step;
        std::uint32_t parent;       ///< index of the place around it; kNone at the top
        std::uint32_t behind;       ///< index of the first place that is not inside of it
        std::uint64_t offset, end;  ///< bytes from the first of the file
    };

    std::vector<Place> places;

    /// Opens a place inside of the one that is open.
    void Enter(const Step& step, std::uint64_t offset);

    /// Closes the place that is open.
    void Leave(std::uint64_t end);

    /// Notes a place with nothing inside.
    void Note(const Step& step, std::uint64_t offset, std::uint64_t end)
    {
        Enter(step, offset);
        Leave(end);
    }

private:
    std::uint32_t m_open = kNone;
};

}  // namespace vela::vlgim::io
