#pragma once

#include <vlgim/Array.h>
#include <vlgim/Export.h>

namespace vela::vlgim {

/// Time axis of a list of animation keys: at most 65535 float times, ascending, in the container's unit.
///
/// Behind the last key the array holds one more entry, the trailing time, twice the last key's time. So each
/// key owns the half-open interval from its own time to the next entry, and the searches need no special case
/// for the end. A file holds neither the trailing time nor the length; whoever reads times sets them with
/// SetKeyTimes.
///
/// The order is not checked. Times that do not ascend, equal times and NaN give searches that find less,
/// never ones that hang. Where m_count is larger than the array allows, a list has the keys that the array holds; that
/// of a null array has none. A list belongs to one thread while it is edited.
class VLGIM_API vlKeyTimes {
public:
    Array<float> m_times;        ///< m_count + 1 entries: the keys, then the trailing time; this list's own
    unsigned short m_count = 0;  ///< keys, without the trailing time
    double m_length = 0;         ///< the last key's time

    vlKeyTimes() = default;

    /// A copy has an array of its own, trailing time included; a null array gives a null one with the same
    /// count and length. A list that was moved from has a null array.
    vlKeyTimes(const vlKeyTimes& other);
    vlKeyTimes& operator=(const vlKeyTimes& other);
    vlKeyTimes(vlKeyTimes&&) noexcept = default;
    vlKeyTimes& operator=(vlKeyTimes&&) noexcept = default;
    ~vlKeyTimes() = default;

    /// True unless a key of this list lies more than 2^-23 from the key of the same index in `other`, or has
    /// no such key there. Further keys of `other`, the lengths and the trailing times take no part, so the
    /// order of the operands matters. A NaN difference is no difference.
    bool operator==(const vlKeyTimes& other) const;

    /// Makes an array for `count` keys and the trailing time, and leaves it to the caller to fill all of it.
    /// The length stays; an earlier array is released.
    void Init(unsigned short count);

    /// Back to an empty list.
    void Clear();

    /// Releases the array; count and length stay. Init or SetKeyTimes make the list fit for use again.
    void ClearTimes();

    /// Adds a key. Returns false, and changes nothing, for a time that lies on a key (within a millionth of
    /// the interval that it falls into; an empty interval holds none), one before key 0, a NaN, and on a list
    /// of 65535 keys. Indices of the keys behind it grow by one.
    bool AddKeyTime(float time);

    /// Removes a key; indices of the keys behind it shrink by one. Returns false, and changes nothing, for
    /// key 0, an index that has no key, and a list of two keys or fewer.
    bool RemoveKeyTime(unsigned short index);

    /// Moves a key between its neighbours, to at least 1/60 from either; behind the last key there is no
    /// limit. Returns false, and changes nothing, for key 0, an index that has no key, and a time too near. A
    /// NaN is near nothing, and not refused.
    bool SetKeyTime(unsigned short index, float time);

    /// Makes the distance from key `first` to key `last` equal to `span`: moves `last` and all keys behind it
    /// by the difference. Keys between the two stay, so a shorter span can leave them behind key `last`. Does
    /// nothing where span is 0 or less, first is not below last, or last has no key.
    void SetKeysTime(unsigned short first, unsigned short last, float span);

    /// Spaces `count` keys evenly from 0 to `length`; a single key is at `length`. GetLength gives `length`
    /// exactly, also without keys.
    void SetKeyTimes(unsigned short count, unsigned int length);

    /// Takes `count` times over. The integers become floats value for value, but key 0 becomes 0. The floats
    /// may lie in this list's own array. With a count of 0 the pointer may be null, and the length is 0.
    void SetKeyTimes(const unsigned int* times, unsigned short count);
    void SetKeyTimes(const float* times, unsigned short count);

    /// Multiplies all keys by `factor`.
    void ScaleKeyTimes(float factor);

    /// The member as it stands. Whoever walks the keys asks GetKeyTimes for null first.
    unsigned short GetKeyCount() const noexcept { return m_count; }

    /// The time of a key; with the key count as index, the trailing time. 0 behind the end of the array, and for a null
    /// one.
    float GetKeyTime(unsigned short index) const noexcept
    {
        return index < m_times.size() ? m_times[index] : 0.0F;
    }

    /// The keys and the trailing time, or null: the list has no keys then. Valid up to the next edit.
    const float* GetKeyTimes() const noexcept { return m_times.data(); }

    double GetLength() const noexcept { return m_length; }

    /// Index of the key whose interval holds `time`, searched from key `start` upwards and, behind the last
    /// key, from key 0 on: one or two tests for a time near `start`, one pass over the keys at most.
    /// fraction   receives how far the time lies towards the next entry, from 0 up to 1; may be null
    /// Returns 0 where no interval holds the time, or `start` has no key. *fraction is untouched then, and
    /// only that tells it from a hit of key 0: preset it.
    unsigned short GetKeyIndex(float time, unsigned short start, float* fraction) const;

    /// The same, searched downwards and, in front of key 0, from the last key on.
    unsigned short GetKeyIndexRvs(float time, unsigned short start, float* fraction) const;

    /// Index of the entry nearest to `time`, the lower one of two that are as near. The trailing time is such
    /// an entry, so the result can be the key count. 0xFFFF for a time before key 0, at or behind the
    /// trailing time; with 65535 keys, for the trailing time too.
    unsigned short GetKeyIndexBetween(float time) const;
};

}  // namespace vela::vlgim
