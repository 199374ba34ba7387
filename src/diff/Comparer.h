#pragma once

#include "Runs.h"

#include <vlgim/Differences.h>

#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace vela::vlgim::diff {

/// In the fewest digits that read back the same.
std::string TextOf(double value);
std::string TextOf(float value);
template <class T>
requires std::is_integral_v<T> std::string TextOf(T value)
{
    return std::to_string(value);
}

/// One value as it is, several in parentheses.
template <class T>
std::string EntryText(const T* entry, unsigned width)
{
    if (width == 1)
        return TextOf(*entry);
    std::string text = "(";
    for (unsigned i = 0; i < width; ++i)
        text += (i ? ", " : "") + TextOf(entry[i]);
    return text + ")";
}

std::string HexText(std::uint32_t value);

/// As in "bone 'hip'".
std::string Quoted(std::string_view kind, std::string_view name);

/// Compares field by field and collects what differs.
class Comparer {
public:
    explicit Comparer(const CompareOptions& options) : m_tolerance(options.tolerance) {}

    std::vector<Difference> Take() { return std::move(m_found); }
    std::size_t Count() const { return m_found.size(); }

    /// Forgets all behind the first `count` differences.
    void Rewind(std::size_t count) { m_found.resize(count); }

    /// While it lives, the fields compared belong to this: "bone 'hip'".
    class Scope {
    public:
        Scope(Comparer& comparer, std::string_view owner)
            : m_comparer(comparer), m_length(comparer.m_owners.size())
        {
            comparer.m_owners.append(owner).append(" / ");
        }
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;
        ~Scope() { m_comparer.m_owners.resize(m_length); }

    private:
        Comparer& m_comparer;
        std::size_t m_length;
    };

    void Add(Difference difference);

    /// Whether both sides have the field; where one alone has it, that is a difference.
    bool Both(std::string_view field, bool a, bool b);

    /// Each returns whether the two are the same.
    bool Number(std::string_view field, std::uint64_t a, std::uint64_t b);
    bool Float(std::string_view field, float a, float b);
    bool Code(std::string_view field, std::uint32_t a, std::uint32_t b);  // no number: in hexadecimal
    bool Text(std::string_view field, std::string_view a, std::string_view b);

    /// The same for a value in a document, which may be a number or a list of them, or missing.
    bool Value(std::string_view field, std::string_view where, const std::optional<std::string>& a,
               const std::optional<std::string>& b);
    bool SameValue(std::string_view a, std::string_view b) const;

    /// Compares two runs and names the entry that differs most. A null array on one side is a field that it does not
    /// have; runs of different counts, of which none is single, are passed over.
    /// where(entry)  names an entry
    /// apart         as of Scan
    template <class T, class Where, class Apart = Distant (*)(const T*, const T*, unsigned)>
    void Runs(std::string_view field, Run<T> a, Run<T> b, Where where, Apart apart = ByComponent<T>)
    {
        if ((a.count != b.count && !a.isSingle && !b.isSingle) || a.count == 0 || b.count == 0)
            return;
        if (!Both(field, a.data != nullptr, b.data != nullptr) || !a.data)
            return;
        Largest largest;
        Measure(a, b, 0, largest, apart);
        NameLargest(field, a, b, largest, where);
    }

    template <class T, class Apart = Distant (*)(const T*, const T*, unsigned)>
    void Measure(Run<T> a, Run<T> b, std::uint64_t first, Largest& largest, Apart apart = ByComponent<T>)
    {
        Scan(a, b, first, apart, std::is_floating_point_v<T> ? m_tolerance : 0, true, largest);
    }

    /// Names what was measured. Of entries that are wide, as matrices are, the component alone is told.
    template <class T, class Where>
    void NameLargest(std::string_view field, Run<T> a, Run<T> b, const Largest& largest, Where where)
    {
        constexpr unsigned kMostShown = 4;
        if (largest.count == 0)
            return;
        const T *valueA = a.At(largest.entry), *valueB = b.At(largest.entry);
        std::string place = where(largest.entry);
        unsigned shown = a.width;
        if (a.width > kMostShown) {
            place += (place.empty() ? "value " : ", value ") + std::to_string(largest.component);
            valueA += largest.component;
            valueB += largest.component;
            shown = 1;
        }
        Add({std::string(field), place, largest.distance, largest.count, EntryText(valueA, shown),
             EntryText(valueB, shown)});
    }

private:
    double m_tolerance;
    std::string m_owners;  // as in "clip 'walk' / bone 'hip' / "
    std::vector<Difference> m_found;
};

}  // namespace vela::vlgim::diff
