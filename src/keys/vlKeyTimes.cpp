#include "KeyTimesBlock.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

namespace vela::vlgim {

using keys::WrittenKeyCount;

namespace {

// The least distance between two keys that SetKeyTime leaves, a frame at 60 Hz.
constexpr float kKeyGap = 1.0F / 60.0F;

// Of an interval: what lies nearer to a key is on it.
constexpr float kOnKey = 1e-6F;

// A time has to be above the length by this factor to be appended where no interval holds it.
constexpr double kBehindLast = 1 + 0x1p-20;

Array<float> NewTimes(unsigned keyCount)
{
    return Array<float>::ForOverwrite(keyCount + 1);
}

// Entries may move within one array.
void MoveTimes(float* to, const float* from, unsigned count)
{
    if (count)
        std::memmove(to, from, count * sizeof(float));
}

// One pass at most, from key `start` to each next one and round to `start` again.
template <class Next>
unsigned short Search(const vlKeyTimes& list, float time, unsigned start, float* fraction, Next next)
{
    const unsigned count = WrittenKeyCount(list);
    if (start >= count)
        return 0;
    unsigned key = start;
    do {
        const float* interval = list.m_times.get() + key;
        if (interval[0] <= time && time < interval[1]) {
            if (fraction)
                *fraction = (time - interval[0]) / (interval[1] - interval[0]);
            return static_cast<unsigned short>(key);
        }
        key = next(key, count);
    } while (key != start);
    return 0;
}

void SetTrailingTime(vlKeyTimes& list)
{
    list.m_times[WrittenKeyCount(list)] = static_cast<float>(2.0 * list.m_length);
}

// Length and trailing time follow the last key.
void Refresh(vlKeyTimes& list)
{
    const unsigned count = WrittenKeyCount(list);
    list.m_length = count ? list.m_times[count - 1] : 0.0F;
    SetTrailingTime(list);
}

// The array for a new set of keys is the old one where that is long enough. Returns an old one that was replaced:
// the new times may still have to be copied out of it.
Array<float> Settle(vlKeyTimes& list, unsigned short keyCount)
{
    Array<float> old;
    if (keyCount >= list.m_times.size())
        old = std::exchange(list.m_times, NewTimes(keyCount));
    list.m_count = keyCount;
    return old;
}

}  // namespace

vlKeyTimes::vlKeyTimes(const vlKeyTimes& other)
    : m_times(other.m_times.Clone()), m_count(other.m_count), m_length(other.m_length)
{
}

vlKeyTimes& vlKeyTimes::operator=(const vlKeyTimes& other)
{
    if (this != &other)
        *this = vlKeyTimes(other);
    return *this;
}

bool vlKeyTimes::operator==(const vlKeyTimes& other) const noexcept
{
    const unsigned count = WrittenKeyCount(*this);
    if (count > WrittenKeyCount(other))
        return false;
    for (unsigned i = 0; i < count; ++i) {
        const float difference = m_times[i] - other.m_times[i];
        if (std::fabs(static_cast<double>(difference)) > 0x1p-23)
            return false;
    }
    return true;
}

void vlKeyTimes::Init(unsigned short count)
{
    m_times = NewTimes(count);
    m_count = count;
}

void vlKeyTimes::Clear()
{
    *this = vlKeyTimes();
}

void vlKeyTimes::ClearTimes()
{
    m_times = nullptr;
}

bool vlKeyTimes::AddKeyTime(float time)
{
    const unsigned count = WrittenKeyCount(*this);
    if (std::isnan(time) || count == 0xFFFF || (count != 0 && time < m_times[0]))
        return false;
    float fraction = -1.0F;  // what a search without a hit leaves, and neither test takes for a key
    const unsigned found = GetKeyIndex(time, 0, &fraction);
    if (std::fabs(fraction) < kOnKey || std::fabs(fraction - 1.0F) < kOnKey)
        return false;

    const bool append = count == 0 || static_cast<double>(time) > m_length * kBehindLast;
    const unsigned place = append ? count : found + 1;
    auto times = NewTimes(count + 1);
    if (count != 0) {
        MoveTimes(times.get(), m_times.get(), place);
        MoveTimes(times.get() + place + 1, m_times.get() + place, count + 1 - place);
    }
    times[place] = time;
    m_times = std::move(times);
    m_count = static_cast<unsigned short>(count + 1);
    if (place == count)
        Refresh(*this);
    return true;
}

bool vlKeyTimes::RemoveKeyTime(unsigned short index)
{
    const unsigned count = WrittenKeyCount(*this);
    if (index == 0 || index >= count || count <= 2)
        return false;
    MoveTimes(m_times.get() + index, m_times.get() + index + 1, count - index);
    m_count = static_cast<unsigned short>(count - 1);
    if (index == m_count)
        Refresh(*this);
    return true;
}

bool vlKeyTimes::SetKeyTime(unsigned short index, float time)
{
    const unsigned count = WrittenKeyCount(*this);
    if (index == 0 || index >= count || m_times[index - 1] > time - kKeyGap)
        return false;
    const bool last = index + 1U == count;
    if (!last && time + kKeyGap > m_times[index + 1])
        return false;
    m_times[index] = time;
    if (last)
        Refresh(*this);
    return true;
}

void vlKeyTimes::SetKeysTime(unsigned short first, unsigned short last, float span)
{
    const unsigned count = WrittenKeyCount(*this);
    if (span <= 0 || first >= last || last >= count)
        return;
    const float delta = span - (m_times[last] - m_times[first]);
    m_length += static_cast<double>(delta);
    for (unsigned i = last; i < count; ++i)
        m_times[i] += delta;
    SetTrailingTime(*this);
}

void vlKeyTimes::SetKeyTimes(unsigned short count, unsigned int length)
{
    Settle(*this, count);
    m_length = length;
    if (count == 1)  // there is no step
        m_times[0] = static_cast<float>(m_length);
    for (unsigned i = 0; count > 1 && i < count; ++i)
        m_times[i] = static_cast<float>(i * (m_length / (count - 1)));
    SetTrailingTime(*this);
}

void vlKeyTimes::SetKeyTimes(const unsigned int* times, unsigned short count)
{
    Settle(*this, count);
    std::transform(times, times + count, m_times.get(),
                   [](unsigned int time) { return static_cast<float>(time); });
    if (count != 0)
        m_times[0] = 0.0F;
    Refresh(*this);
}

void vlKeyTimes::SetKeyTimes(const float* times, unsigned short count)
{
    const Array<float> old = Settle(*this, count);
    MoveTimes(m_times.get(), times, count);
    Refresh(*this);
}

void vlKeyTimes::ScaleKeyTimes(float factor)
{
    const unsigned count = WrittenKeyCount(*this);
    if (count == 0)
        return;
    for (unsigned i = 0; i < count; ++i)
        m_times[i] *= factor;
    Refresh(*this);
}

unsigned short vlKeyTimes::GetKeyIndex(float time, unsigned short start, float* fraction) const noexcept
{
    return Search(*this, time, start, fraction,
                  [](unsigned key, unsigned count) { return key + 1 == count ? 0 : key + 1; });
}

unsigned short vlKeyTimes::GetKeyIndexRvs(float time, unsigned short start, float* fraction) const noexcept
{
    return Search(*this, time, start, fraction,
                  [](unsigned key, unsigned count) { return key == 0 ? count - 1 : key - 1; });
}

unsigned short vlKeyTimes::GetKeyIndexBetween(float time) const noexcept
{
    const unsigned count = WrittenKeyCount(*this);
    for (unsigned i = 0; i < count; ++i) {
        if (time == m_times[i])
            return static_cast<unsigned short>(i);
        if (time > m_times[i] && time < m_times[i + 1]) {
            const float above = time - m_times[i];
            const float below = m_times[i + 1] - time;
            return static_cast<unsigned short>(above > below ? i + 1 : i);
        }
    }
    return 0xFFFF;
}

}  // namespace vela::vlgim
