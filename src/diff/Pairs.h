#pragma once

#include "Comparer.h"

#include <cstdint>
#include <string_view>
#include <vector>

// Which of two lists' entries belong together.
namespace vela::vlgim::diff {

using Names = std::vector<std::string_view>;

class Pairs {
public:
    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

    /// Pairs the k-th of a name with the k-th of it; then one that is left over with the one at the same place behind a
    /// pair, as a renamed one.
    Pairs(const Names& a, const Names& b);

    /// Index in B of A's entry; kNone: it has none.
    std::size_t InB(std::size_t a) const { return m_inB[a]; }
    std::size_t InA(std::size_t b) const { return m_inA[b]; }

    void Part(std::size_t a);

    /// Whether an index into A's list means the same as one into B's. Beyond both lists, or where one of them is
    /// empty, it means itself.
    bool MeanTheSame(std::size_t a, std::size_t b) const
    {
        if (m_inB.empty() || m_inA.empty())
            return a == b;
        return a < m_inB.size() ? m_inB[a] == b : b >= m_inA.size() && a == b;
    }

    /// Whether every index means the same in both lists.
    bool IsIdentity() const { return m_isIdentity; }

private:
    std::vector<std::size_t> m_inB, m_inA;
    bool m_isIdentity = false;
};

/// Compares lists of things with names.
/// kind           as in "bone"
/// pairs          of the names; those of which one was renamed and the rest differs are parted
/// compare(i, j)  compares all but the names of A's i-th and B's j-th
template <class Compare>
void CompareLists(Comparer& out, const std::string& kind, const Names& a, const Names& b, Pairs& pairs,
                  Compare compare)
{
    if (a.empty() || b.empty()) {
        out.Both(kind + "s", !a.empty(), !b.empty());
        return;
    }
    for (std::size_t i = 0; i < a.size(); ++i) {
        const std::size_t j = pairs.InB(i), before = out.Count();
        if (j == Pairs::kNone || a[i] == b[j])
            continue;
        compare(i, j);
        if (out.Count() != before)
            pairs.Part(i);
        out.Rewind(before);
    }

    bool isOrdered = true;
    std::size_t last = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const std::size_t j = pairs.InB(i);
        if (!out.Both(Quoted(kind, a[i]), true, j != Pairs::kNone))
            continue;
        if (isOrdered && j < last)
            out.Add({kind + " order", Quoted(kind, a[i]), {}, 1, std::to_string(i), std::to_string(j)});
        isOrdered = isOrdered && j >= last;
        last = j;
        const Comparer::Scope scope(out, Quoted(kind, a[i]));
        out.Text("name", a[i], b[j]);
        compare(i, j);
    }
    for (std::size_t j = 0; j < b.size(); ++j)
        out.Both(Quoted(kind, b[j]), pairs.InA(j) != Pairs::kNone, true);
}

}  // namespace vela::vlgim::diff
