#include "Pairs.h"

#include <map>
#include <numeric>

namespace vela::vlgim::diff {

Names NamesOf(const Array<Name32>& fields, std::size_t count)
{
    return {fields.begin(), fields.begin() + std::min(count, fields.size())};
}

Pairs::Pairs(Names namesA, Names namesB)
    : a(std::move(namesA)), b(std::move(namesB)), inB(a.size(), kNone), inA(b.size(), kNone), areSame(a == b)
{
    if (areSame) {
        std::iota(inB.begin(), inB.end(), std::size_t{0});
        inA = inB;
        return;
    }
    const auto pair = [this](std::size_t i, std::size_t j) {
        inB[i] = j;
        inA[j] = i;
    };
    std::multimap<std::string_view, std::size_t> left;  // of one name, in the order of the list
    for (std::size_t j = 0; j < b.size(); ++j)
        left.emplace(b[j], j);
    for (std::size_t i = 0; i < a.size(); ++i)
        if (const auto first = left.lower_bound(a[i]); first != left.end() && first->first == a[i])
            pair(i, left.extract(first).mapped());
    for (std::size_t i = 0; i < a.size(); ++i) {
        const std::size_t j = i == 0 ? 0 : inB[i - 1] == kNone ? kNone : inB[i - 1] + 1;
        if (inB[i] == kNone && j < b.size() && inA[j] == kNone)
            pair(i, j);
    }
}

}  // namespace vela::vlgim::diff
