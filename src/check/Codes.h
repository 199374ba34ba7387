#pragma once

#include <cstddef>

namespace vela::vlgim::check {

/// The kinds of findings, in the order of the table that FindingCodes() gives.
enum class Code : unsigned char {
    Unreadable,
    UnknownKind,
    MemoryLimit,
    BadXml,
    BadHeader,
    BadVersion,
    Damaged,
    BlocksOverlap,

    MissingFile,
    NoSubmeshes,
    SubmeshIncomplete,
    SubmeshCount,
    MaterialIndex,
    MaterialIncomplete,
    MeshAlone,

    MeshMagic,
    NotFinite,
    IndexRange,
    SubmeshRange,
    NoVertexData,
    Count16Bit,
    BoneRange,
    BoneParent,
    BoneName,
    WeightSum,
    TimeOrder,
    QuaternionZero,
    QuaternionLength,
    RotationOrder,
    SkeletonName,
    ClipBone,
    ClipName,
    ClipRenamed,
    ClipLayout,
    ClipsWithoutPlace,

    SaveRefused,
    SaveVersion,
    SaveFloats,
    SaveLowerCase,
    SaveMask,
    SaveTable,
    SaveCollapsesKeys,
    SaveRecodesKeys,
    SaveMovesTimes,
    SaveEndsNames,
    SaveHeader,
    SaveFillsData,
    SaveBaseInfo,
    SaveChanges,
    SaveDropsBlocks,
    SaveDropsKeys,
    SaveDropsBounds,
    SaveDropsKeyRecords,
    SaveDropsAnimBI,
    SaveDropsPivotTrack,
    SaveDropsBytes,
};

inline constexpr std::size_t kCodeCount = static_cast<std::size_t>(Code::SaveDropsBytes) + 1;

}  // namespace vela::vlgim::check
