#pragma once

#include <io/ArrayBlock.h>
#include <io/BlockReader.h>
#include <io/BlockWriter.h>
#include <keys/TransKeysBlock.h>
#include <vlgim/Error.h>
#include <vlgim/vlClipData.h>

#include <bit>
#include <cstdint>
#include <limits>

// Clips as animation files read and write them: many with one reader each.
namespace vela::vlgim::clips {

/// Bytes of a base info record.
inline constexpr std::uint32_t kBaseInfoSize = 1108;

// Key times of files below version 5.2 are integers.
inline constexpr float kTicksPerUnit = 4.8F;
static_assert(std::bit_cast<std::uint32_t>(kTicksPerUnit) == 0x4099999A);

inline float TickToTime(std::int32_t tick)
{
    return static_cast<float>(tick) / kTicksPerUnit;
}

/// Rounds half up and cuts, so that negative times come out up to a tick too high. NaN and what does not fit
/// give the lowest tick, as the processor's own conversion does.
inline std::int32_t TimeToTick(float time)
{
    const double ticks = static_cast<double>(time * kTicksPerUnit) + 0.5;
    constexpr double kBeyond = 2147483648.0;
    return ticks > -kBeyond - 1 && ticks < kBeyond ? static_cast<std::int32_t>(ticks)
                                                   : std::numeric_limits<std::int32_t>::min();
}

/// Reads a whole clip record, in one of its two passes. The first one gives the clip its names and attributes; where it
/// fails, the clip is half read. m_keysOffset counts from byte `origin` of the image.
void Read(const io::Pass& pass, std::uint32_t version, std::uint64_t origin, vlClipData& clip);

/// Reads the one clip of a side file, in both passes. Where `in` fails, the clip is half read.
/// number  of the clip in the animation
void ReadSideFile(io::BlockReader& in, std::uint32_t version, vlClipData& clip,
                  std::int64_t number = io::Step::kOnly);

/// Reads a base info record. Where `in` fails, the clip is half read.
void ReadBaseInfo(io::BlockReader& in, vlClipData& clip);

/// Writes a whole clip record, of a clip that WhyUnwritable has nothing against.
void Write(io::BlockWriter& out, std::uint32_t version, vlClipData& clip);

/// Writes a base info record, of a clip with no more bones than it has room for.
void WriteBaseInfo(io::BlockWriter& out, const vlClipData& clip);

/// Why a clip can't be written. To be asked before a file is opened.
Error WhyUnwritable(const vlClipData& clip, std::uint32_t version);

}  // namespace vela::vlgim::clips
