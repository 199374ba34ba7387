#pragma once

#include <vlgim/Array.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <span>
#include <type_traits>

// Where two arrays differ most.
namespace vela::vlgim::diff {

/// Entries of `width` components each; or, with isSingle, one entry that stands for all.
template <class T>
struct Run {
    const T* data = nullptr;
    std::uint64_t count = 0;
    unsigned width = 1;
    bool isSingle = false;

    const T* At(std::uint64_t entry) const { return isSingle ? data : data + entry * width; }
};

/// What a value consists of: a number of itself, an array of its numbers, a vector or a matrix of floats.
template <class T, class Element = std::remove_all_extents_t<T>>
using Component = std::conditional_t<std::is_arithmetic_v<Element>, Element, float>;

/// Entries of `width` values each.
template <class T>
Run<Component<T>> RunOf(const T* values, std::uint64_t count, unsigned width = 1)
{
    constexpr unsigned size = sizeof(T), componentSize = sizeof(Component<T>);
    return {reinterpret_cast<const Component<T>*>(values), count, width * (size / componentSize)};
}

/// The first entries of an array; none, as of an array that is not there, where it is shorter.
template <class T>
Run<Component<T>> RunOf(const Array<T>& array, std::uint64_t count, unsigned width = 1)
{
    return RunOf(count * width <= array.size() ? array.data() : nullptr, count, width);
}

/// Of two entries: how far they are apart at most, and in which component.
struct Distant {
    double distance = 0;
    unsigned component = 0;
};

/// The two entries that are furthest apart.
struct Largest {
    Distant apart;
    std::uint64_t entry = 0;
    std::uint64_t count = 0;  // entries that are further apart than the tolerance
};

/// By value; a number is infinitely far from what is none.
template <class T>
double Distance(T a, T b)
{
    const auto x = static_cast<double>(a), y = static_cast<double>(b);
    if (x == y || (std::isnan(x) && std::isnan(y)))
        return 0;
    const double distance = std::abs(x - y);
    return std::isnan(distance) ? std::numeric_limits<double>::infinity() : distance;
}

struct ByComponent {
    template <class T>
    Distant operator()(const T* a, const T* b, unsigned width) const
    {
        Distant most;
        for (unsigned i = 0; i < width; ++i)
            if (const double distance = Distance(a[i], b[i]); distance > most.distance)
                most = {distance, i};
        return most;
    }
};

/// Quaternions: q and -q are one rotation.
struct ByRotation {
    Distant operator()(const float* a, const float* b, unsigned width) const
    {
        const float turned[4] = {-b[0], -b[1], -b[2], -b[3]};
        const Distant straight = ByComponent()(a, b, width), negated = ByComponent()(a, turned, width);
        return negated.distance < straight.distance ? negated : straight;
    }
};

/// The entries from `first` up to `end`.
struct Range {
    std::uint64_t first, end;
};
inline constexpr Range kWhole[] = {{0, UINT64_MAX}};

/// Goes through two runs, of as many entries unless one is single.
/// apart      gives the distance of two entries
/// allowed    distance up to which they count as equal
/// bytesTell  whether entries of the same bytes are equal
template <class T, class Apart>
Largest Scan(Run<T> a, Run<T> b, Apart apart, double allowed, bool bytesTell,
             std::span<const Range> ranges = kWhole)
{
    constexpr std::uint64_t kPiece =
        256;  // entries whose bytes are compared at once: nearly all are the same
    const std::uint64_t count = std::max(a.count, b.count);
    Largest largest;
    for (const Range& range : ranges) {
        for (std::uint64_t start = range.first, end; start < std::min(range.end, count); start = end) {
            end = std::min({range.end, count, start + kPiece});
            if (bytesTell && !a.isSingle && !b.isSingle &&
                std::memcmp(a.At(start), b.At(start), (end - start) * a.width * sizeof(T)) == 0)
                continue;
            for (std::uint64_t i = start; i < end; ++i) {
                const Distant at = apart(a.At(i), b.At(i), a.width);
                if (!(at.distance > allowed))
                    continue;
                ++largest.count;
                if (at.distance > largest.apart.distance)
                    largest = {at, i, largest.count};
            }
        }
    }
    return largest;
}

}  // namespace vela::vlgim::diff
