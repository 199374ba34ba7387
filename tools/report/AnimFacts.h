#pragma once

#include <vlgim/vlAnimData.h>
#include <vlgim/vlTrackData.h>

#include <cstdint>
#include <vector>

namespace vela::vlgim::tools {

/// Whether any component of the channel has a value for each key.
bool Moves(const vlTransKeysData& channel);

/// For each bone of the skeleton, whether it moves in any clip.
std::vector<bool> MovingBones(const vlAnimData& anim);

/// The forms of a clip's keys in the file.
enum class RotationForm : unsigned char { Float, Half, Packed32, Packed48 };
struct KeyForm {
    RotationForm rotation;  ///< of quaternions; Euler angles are halves or floats
    bool isScaleHalf;
};

/// version   of the animation file
KeyForm FormOf(const vlClipData& clip, std::uint32_t version);

/// Of the whole record, without a pivot track.
std::uint64_t BytesOnDisk(const vlClipData& clip, std::uint32_t version);

/// With all keys.
std::uint64_t BytesInMemory(const vlClipData& clip);
std::uint64_t BytesInMemory(const vlTrackData& track);

}  // namespace vela::vlgim::tools
