#pragma once

#include <vlgim/Array.h>
#include <vlgim/Export.h>

#include <concepts>
#include <utility>

namespace vela::vlgim {

/// The times of a list of animation keys: at most 65535 floats in ascending order, in the unit of the container.
///
/// After the last key the array has one more entry, the trailing time, which is twice the time of the last key. Each
/// key has the interval from its own time up to the next entry, without that entry, and the last key needs no special
/// case in a search. A file stores neither the trailing time nor the length; SetKeyTimes computes them.
///
/// The order is not checked. With times that do not ascend, equal times or NaN, a search may find nothing where it
/// should, but it always ends. If m_count is larger than the array allows, the list has as many keys as the array
/// holds; a null array holds none. A list belongs to one thread while it is edited.
class VLGIM_API vlKeyTimes {
public:
    Array<float> m_times;  ///< m_count + 1 entries: the keys and the trailing time; not shared with copies
    unsigned short m_count = 0;  ///< number of keys, without the trailing time
    double m_length = 0;         ///< time of the last key

    vlKeyTimes() = default;

    /// A copy has its own array, including the trailing time. A copy of a null array is null, with the same count and
    /// length. A list that was moved from is empty.
    vlKeyTimes(const vlKeyTimes& other);
    vlKeyTimes& operator=(const vlKeyTimes& other);
    vlKeyTimes(vlKeyTimes&& other) noexcept { swap(other); }
    vlKeyTimes& operator=(vlKeyTimes&& other) noexcept
    {
        vlKeyTimes moved(std::move(other));
        swap(moved);
        return *this;
    }
    ~vlKeyTimes() = default;

    /// True if each key of this list is at most 2^-23 from the key with the same index in `other`, and `other` has that
    /// key. More keys in `other`, the lengths and the trailing times are ignored, so a == b and b == a can differ. A
    /// difference of NaN counts as none.
    bool operator==(const vlKeyTimes& other) const noexcept;

    /// Makes an array for `count` keys and the trailing time, which are not initialised: the caller has to set all of
    /// them. The old array is released. m_length is unchanged.
    void Init(unsigned short count);

    /// Makes the list empty: null array, count 0, length 0.
    void Clear();

    /// Releases the array; count and length are unchanged, but the list has no keys. Init or SetKeyTimes make a new
    /// array.
    void ClearTimes();

    /// Adds a key; the indices of all later keys grow by one.
    /// time  at or after key 0; any time for an empty list
    /// Returns true if the key was added. Returns false if the time is on an existing key (within a millionth of the
    /// interval that it is in; an empty interval contains no time), before key 0, or NaN, and for a list of 65535 keys;
    /// the list is then unchanged.
    [[nodiscard]] bool AddKeyTime(float time);

    /// Removes a key; the indices of all later keys shrink by one.
    /// Returns true if the key was removed. Returns false for key 0, an index without a key, and a list of two keys or
    /// fewer; the list is then unchanged.
    [[nodiscard]] bool RemoveKeyTime(unsigned short index);

    /// Moves a key between its neighbours.
    /// time  at least 1/60 from the key before and the key after; the last key has no upper limit
    /// Returns true if the key was moved. Returns false for key 0, an index without a key, and a time that is too near
    /// to a neighbour; the list is then unchanged. NaN is not refused.
    [[nodiscard]] bool SetKeyTime(unsigned short index, float time);

    /// Makes the distance from key `first` to key `last` equal to `span`: `last` and all later keys move by the
    /// difference. Keys between the two do not move, so with a shorter span they can be later than key `last`. Does
    /// nothing if span is 0 or less, `first` is not below `last`, or `last` has no key.
    void SetKeysTime(unsigned short first, unsigned short last, float span);

    /// Sets `count` keys that are spaced evenly from 0 to `length`; a single key is at `length`. GetLength returns
    /// exactly `length`, also with 0 keys. A length that is no integer is not accepted.
    void SetKeyTimes(unsigned short count, unsigned int length);
    void SetKeyTimes(std::integral auto count, std::integral auto length)
    {
        SetKeyTimes(static_cast<unsigned short>(count), static_cast<unsigned int>(length));
    }
    void SetKeyTimes(std::integral auto count, std::floating_point auto length) = delete;

    /// Copies `count` times. Integers are converted to float, except that key 0 becomes 0. Floats may be in this list's
    /// own array. With a count of 0 the pointer may be null, and the length becomes 0.
    void SetKeyTimes(const unsigned int* times, unsigned short count);
    void SetKeyTimes(const float* times, unsigned short count);

    /// Multiplies all key times by `factor`; the length and the trailing time follow.
    void ScaleKeyTimes(float factor);

    /// Returns m_count, also if the array has fewer keys. If GetKeyTimes returns null, the list has no keys.
    unsigned short GetKeyCount() const noexcept { return m_count; }

    /// Returns the time of a key, or the trailing time if the index is the key count. Returns 0 for any larger index,
    /// and if the array is null.
    float GetKeyTime(unsigned short index) const noexcept
    {
        return index < m_times.size() ? m_times[index] : 0.0F;
    }

    /// Returns the keys and the trailing time; null if the list has no array. Valid until the next edit.
    const float* GetKeyTimes() const noexcept { return m_times.data(); }

    /// Returns the time of the last key.
    double GetLength() const noexcept { return m_length; }

    /// Finds the key whose interval contains `time`. The search goes from key `start` upwards, and after the last key
    /// continues at key 0. It takes one or two tests for a time near `start`, and one pass over the keys at most.
    /// fraction  receives how far the time is towards the next entry, from 0 up to 1, which only rounding gives;
    ///           may be null
    /// Returns the index of the key. Returns 0 if no interval contains the time or `start` has no key; *fraction is
    /// then unchanged. Only this distinguishes it from key 0, so set *fraction before the call.
    unsigned short GetKeyIndex(float time, unsigned short start, float* fraction) const noexcept;

    /// Finds the same key as GetKeyIndex, but searches downwards from `start`, and before key 0 continues at the last
    /// key.
    unsigned short GetKeyIndexRvs(float time, unsigned short start, float* fraction) const noexcept;

    /// Returns the index of the entry nearest to `time`; of two at the same distance, the lower one. The trailing time
    /// is an entry, so the result can be the key count. Returns 0xFFFF for a time before key 0, at or after the
    /// trailing time, or NaN, and for an empty list. With 65535 keys 0xFFFF is also the index of the trailing time.
    unsigned short GetKeyIndexBetween(float time) const noexcept;

private:
    void swap(vlKeyTimes& other) noexcept
    {
        std::swap(m_times, other.m_times);
        std::swap(m_count, other.m_count);
        std::swap(m_length, other.m_length);
    }
};

}  // namespace vela::vlgim
