#pragma once

#include "Runs.h"

#include <vlgim/Differences.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vela::vlgim::diff {

/// In the fewest digits that read back the same.
std::string TextOf(float value);
template <class T>
requires std::is_integral_v<T> std::string TextOf(T value)
{
    return std::to_string(value);
}

/// One value as it is, several in parentheses. textOf(value) names each.
template <class T, class ToText>
std::string EntryText(const T* entry, unsigned width, ToText textOf)
{
    std::string text;
    for (unsigned i = 0; i < width; ++i)
        text += (i ? ", " : "") + textOf(entry[i]);
    return width == 1 ? text : "(" + text + ")";
}

/// As in "bone 'hip'".
std::string Quoted(std::string_view kind, std::string_view name);

/// Names an entry by its number, as in "vertex 3".
inline auto Nth(const char* kind)
{
    return [kind](std::uint64_t entry) { return std::string(kind) + " " + std::to_string(entry); };
}

/// Compares field by field and collects what differs.
class Comparer {
public:
    Comparer(std::vector<Difference>& found, const CompareOptions& options)
        : m_found(found), m_tolerance(options.tolerance)
    {
    }

    /// For the fields of something inside, as of "bone 'hip'". This object has to outlive it.
    Comparer Within(std::string owner) const { return {*this, std::move(owner)}; }

    std::size_t Count() const { return m_found.size(); }

    /// Forgets all behind the first `count` differences.
    void Rewind(std::size_t count) const { m_found.resize(count); }

    void Add(Difference difference) const;

    /// Whether both sides have the field; where one alone has it, that is a difference.
    bool Both(std::string_view field, bool a, bool b) const;

    /// Each returns whether the two are the same. A number can be several, such as a vector.
    template <class T, class Apart = ByComponent>
    bool Number(std::string_view field, const T& a, const T& b, Apart apart = {}) const
    {
        const auto where = [](std::uint64_t) { return std::string(); };
        return Runs(field, RunOf(&a, 1), RunOf(&b, 1), where, apart);
    }
    bool Code(std::string_view field, std::uint32_t a, std::uint32_t b) const;  // no number: in hexadecimal
    bool Text(std::string_view field, std::string_view a, std::string_view b) const;

    /// The same for a value in a document, which may be a number or a list of them, or missing.
    bool Value(std::string_view field, std::string_view where, const std::optional<std::string>& a,
               const std::optional<std::string>& b) const;
    bool SameValue(std::string_view a, std::string_view b) const;

    /// Compares two runs and names the entry that differs most. A null array on one side is a field that it does not
    /// have; runs of different counts, of which none is single, are passed over.
    /// where(entry)  names an entry
    /// apart         as of Scan
    /// ranges        the entries to compare
    /// Returns whether no difference was found.
    template <class T, class Where, class Apart = ByComponent>
    bool Runs(std::string_view field, Run<T> a, Run<T> b, Where where, Apart apart = {},
              std::span<const Range> ranges = kWhole) const
    {
        if ((a.count != b.count && !a.isSingle && !b.isSingle) || a.count == 0 || b.count == 0)
            return true;
        if (!Both(field, a.data != nullptr, b.data != nullptr))
            return !a.data && !b.data;
        const double allowed = std::is_floating_point_v<T> ? m_tolerance : 0;
        const Largest largest = Scan(a, b, apart, allowed, true, ranges);
        if (largest.count != 0)
            AddLargest(field, a, b, largest, where(largest.entry));
        return largest.count == 0;
    }

private:
    Comparer(const Comparer& outer, std::string owner)
        : m_found(outer.m_found), m_tolerance(outer.m_tolerance), m_outer(&outer), m_owner(std::move(owner))
    {
    }

    // Of entries that are wide, as matrices are, the component alone is told.
    template <class T>
    void AddLargest(std::string_view field, Run<T> a, Run<T> b, const Largest& largest,
                    std::string place) const
    {
        constexpr unsigned kMostShown = 4;
        const bool isWide = a.width > kMostShown;
        const unsigned first = isWide ? largest.apart.component : 0;
        if (isWide)
            place += (place.empty() ? "value " : ", value ") + std::to_string(first);
        const auto text = [&](const Run<T>& run) {
            return EntryText(run.At(largest.entry) + first, isWide ? 1 : run.width,
                             [](T value) { return TextOf(value); });
        };
        Add({std::string(field), place, largest.apart.distance, largest.count, text(a), text(b)});
    }

    std::vector<Difference>& m_found;
    double m_tolerance;
    const Comparer* m_outer = nullptr;
    std::string m_owner;  // as in "bone 'hip'"
};

}  // namespace vela::vlgim::diff
