#pragma once

#include "ImageCheck.h"

#include <vlgim/Array.h>
#include <vlgim/Name32.h>
#include <vlgim/vlTrackData.h>

#include <cstdint>
#include <string>

// What holds for numbers and names wherever they stand.
namespace vela::vlgim::check {

/// How many elements of a run are bad, and which is the first.
struct Tally {
    std::uint64_t count = 0, first = 0;

    void Add(std::uint64_t index)
    {
        if (count++ == 0)
            first = index;
    }
};

/// Floats that are NaN or infinite.
Tally NotFinite(const float* values, std::uint64_t count);

/// A field of floats, as they were read from it.
struct FloatRun {
    std::string what;     ///< as in "positions"
    const char* element;  ///< what an index counts, as in "vertex"
    const float* values;
    std::uint64_t count, width;      ///< elements, and floats of each
    std::uint64_t size = 4 * width;  ///< bytes of an element in the file: of floats, half floats or a code
    std::uint64_t behind = 0;        ///< bytes ahead of the first in the field
};
void CheckFinite(const File& file, std::size_t field, const FloatRun& run);

/// Of quaternions (x, y, z, w): neither zero nor far from unit length.
void CheckQuaternions(const File& file, std::size_t field, const std::string& one, const FloatRun& run);

/// The key times of a block: finite and ascending.
void CheckTimes(const File& file, std::size_t block, const float* times, std::uint64_t count);

/// The transform keys of a channel or of a bone.
void CheckChannel(const File& file, std::size_t block, const vlTransKeysData& keys);

/// A track with its channels.
void CheckTrackBlock(const File& file, std::size_t block, const vlTrackData& track);

/// Says what becomes of a track, its channels aside, or of the keys of a channel or a bone; nothing of other blocks.
void ReportChangedKeys(const Change& change);

/// Names of bones: none twice, and whether a reader made them lower-case, which is the result.
bool CheckBoneNames(const File& file, std::size_t field, const Array<Name32>& names, std::uint32_t count);

/// "1 vertex", "12 vertices": a count with its word, which takes an s or has a form of its own.
std::string Counted(std::uint64_t count, const char* one, const char* many);

}  // namespace vela::vlgim::check
