#pragma once

#include <vlgim/Array.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

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

/// The first entries of an array; none, as of an array that is not there, where it is shorter.
template <class T>
Run<T> RunOf(const Array<T>& array, std::uint64_t count, unsigned width = 1)
{
    return {count * width <= array.size() ? array.data() : nullptr, count, width};
}

/// Of two entries: how far they are apart at most, and in which component.
struct Distant {
    double distance = 0;
    unsigned component = 0;
};

/// The largest distance so far, and where it is.
struct Largest {
    double distance = 0;
    std::uint64_t entry = 0;
    unsigned component = 0;
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

template <class T>
Distant ByComponent(const T* a, const T* b, unsigned width)
{
    Distant most;
    for (unsigned i = 0; i < width; ++i)
        if (const double distance = Distance(a[i], b[i]); distance > most.distance)
            most = {distance, i};
    return most;
}

/// Quaternions: q and -q are one rotation.
inline Distant ByRotation(const float* a, const float* b, unsigned width)
{
    const float turned[4] = {-b[0], -b[1], -b[2], -b[3]};
    const Distant straight = ByComponent(a, b, width);
    const Distant negated = ByComponent(a, turned, width);
    return negated.distance < straight.distance ? negated : straight;
}

/// Goes through two runs, of as many entries unless one is single.
/// first      number of their first entry
/// apart      gives the distance of two entries
/// allowed    distance up to which they count as equal
/// bytesTell  whether entries of the same bytes are equal
template <class T, class Apart>
void Scan(Run<T> a, Run<T> b, std::uint64_t first, Apart apart, double allowed, bool bytesTell,
          Largest& largest)
{
    constexpr std::uint64_t kPiece =
        256;  // entries whose bytes are compared at once: nearly all are the same
    const std::uint64_t count = std::max(a.count, b.count);
    for (std::uint64_t start = 0; start < count; start += kPiece) {
        const std::uint64_t end = std::min(count, start + kPiece);
        if (bytesTell && !a.isSingle && !b.isSingle &&
            std::memcmp(a.At(start), b.At(start), (end - start) * a.width * sizeof(T)) == 0)
            continue;
        for (std::uint64_t i = start; i < end; ++i) {
            const Distant at = apart(a.At(i), b.At(i), a.width);
            if (!(at.distance > allowed))
                continue;
            ++largest.count;
            if (at.distance > largest.distance)
                largest = {at.distance, first + i, at.component, largest.count};
        }
    }
}

}  // namespace vela::vlgim::diff
