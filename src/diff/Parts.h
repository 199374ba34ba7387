#pragma once

#include "Comparer.h"

#include <string_view>
#include <utility>
#include <vector>

// What several comparisons have alike, and what the public ones are made of.
namespace vela::vlgim::diff {

using Names = std::vector<std::string_view>;

/// The first `count` names, or as many as there are.
Names NamesOf(const Array<Name32>& fields, std::size_t count);

/// Which of two lists' entries belong together.
struct Pairs {
    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

    Names a, b;
    std::vector<std::size_t> inB, inA;  ///< index of A's entry in B, and of B's in A; kNone: it has none
    bool areSame;                       ///< every index means the same in both lists

    /// Pairs the k-th of a name with the k-th of it; then one that is left over with the one at the same place behind a
    /// pair, as a renamed one.
    Pairs(Names namesA, Names namesB);

    /// Whether an index into A's list means the same as one into B's. Beyond both lists, or where one of them is
    /// empty, it means itself.
    bool MeanTheSame(std::size_t indexA, std::size_t indexB) const
    {
        if (a.empty() || b.empty())
            return indexA == indexB;
        return indexA < a.size() ? inB[indexA] == indexB : indexB >= b.size() && indexA == indexB;
    }
};

/// Compares lists of things with names.
/// kind                     as in "bone"
/// pairs                    of the names; those of which one was renamed and the rest differs are parted
/// compare(comparer, i, j)  compares all but the names of A's i-th and B's j-th
template <class Compare>
void CompareLists(const Comparer& out, const std::string& kind, Pairs& pairs, Compare compare)
{
    const Names &a = pairs.a, &b = pairs.b;
    if (!out.Both(kind + "s", !a.empty(), !b.empty()))
        return;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const std::size_t j = pairs.inB[i], before = out.Count();
        if (j == Pairs::kNone || a[i] == b[j])
            continue;
        compare(out, i, j);
        if (out.Count() != before)
            pairs.inB[i] = pairs.inA[j] = Pairs::kNone;
        out.Rewind(before);
    }

    bool isOrdered = true;
    std::size_t last = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const std::size_t j = pairs.inB[i];
        const std::string name = Quoted(kind, a[i]);
        if (!out.Both(name, true, j != Pairs::kNone))
            continue;
        if (j < last && std::exchange(isOrdered, false))
            out.Add({kind + " order", name, {}, 1, std::to_string(i), std::to_string(j)});
        last = j;
        const Comparer inner = out.Within(name);
        inner.Text("name", a[i], b[j]);
        compare(inner, i, j);
    }
    for (std::size_t j = 0; j < b.size(); ++j)
        out.Both(Quoted(kind, b[j]), pairs.inA[j] != Pairs::kNone, true);
}

/// The times of the keys alone.
Run<float> TimesOf(const vlKeyTimes& times);

/// Returns whether they are the same.
bool CompareTimes(const Comparer& out, Run<float> a, Run<float> b);

/// Compares the channels of two containers, whose times name the keys; of components that have a key for each time on
/// both sides, only those of as many.
void CompareChannels(const Comparer& out, const vlTransKeysData& a, const vlTransKeysData& b,
                     Run<float> timesA, Run<float> timesB);

/// All but the version.
void CompareTracks(const Comparer& out, const vlTrackData& a, const vlTrackData& b);

/// names  of the submeshes, for those that have one
void CompareMeshes(const Comparer& out, const vlMeshData& a, const vlMeshData& b,
                   const std::vector<SubmeshMessage>& names);

/// As in "submesh 'roof'", or "submesh 1" where it has no name.
std::string SubmeshText(std::size_t index, const std::vector<SubmeshMessage>& names);

/// Names the first place where two documents differ.
void CompareDocuments(const Comparer& out, std::string_view field, const vlio::XmlData& a,
                      const vlio::XmlData& b);

void CompareAnimations(const Comparer& out, const vlAnimData& a, const vlAnimData& b);
void CompareModels(const Comparer& out, const GimData& a, const GimData& b);

}  // namespace vela::vlgim::diff
