#pragma once

#include <io/BlockReader.h>
#include <vlgim/vlKeyTimes.h>

#include <cstdint>

// Key times as containers read and write them: a count of 16 bits, then the times of the keys alone.
namespace vela::vlgim::keys {

/// What TimesFrom allocates, in bytes.
inline std::uint64_t TimesSize(unsigned short keyCount)
{
    return (std::uint64_t{keyCount} + 1) * sizeof(float);
}

/// The list of a run of keyCount times in a file image, at any alignment.
inline vlKeyTimes TimesFrom(const unsigned char* run, unsigned short keyCount)
{
    vlKeyTimes times;
    times.Init(keyCount);
    io::CopyRun(times.m_times.get(), run, keyCount);
    times.SetKeyTimes(times.GetKeyTimes(), keyCount);  // in place: length and trailing time follow
    return times;
}

/// Keys that a writer has to write. A list whose array was cleared has none.
inline unsigned short WrittenKeyCount(const vlKeyTimes& times)
{
    return times.GetKeyTimes() ? times.GetKeyCount() : static_cast<unsigned short>(0);
}

}  // namespace vela::vlgim::keys
