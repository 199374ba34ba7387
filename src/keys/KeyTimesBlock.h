#pragma once

#include <io/BlockReader.h>
#include <io/Errors.h>
#include <vlgim/vlKeyTimes.h>

#include <algorithm>
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

/// Keys that a writer has to write. A list whose array was cleared has none, and none has more than its array.
inline unsigned short WrittenKeyCount(const vlKeyTimes& times)
{
    const std::size_t held = std::max<std::size_t>(times.m_times.size(), 1) - 1;  // without the trailing time
    return static_cast<unsigned short>(std::min<std::size_t>(held, times.GetKeyCount()));
}

/// Why a list can't be written: it counts more keys than it holds.
inline Error WhyUnwritable(const vlKeyTimes& times)
{
    if (times.m_times && times.m_times.size() <= times.m_count)
        return io::WhyShort(times.m_times, std::uint64_t{times.m_count} + 1,
                            "key times, with the trailing one,");
    return {};
}

}  // namespace vela::vlgim::keys
