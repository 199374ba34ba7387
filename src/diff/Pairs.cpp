#include "Pairs.h"

#include <algorithm>
#include <numeric>

namespace vela::vlgim::diff {

namespace {

std::vector<std::size_t> SortedByName(const Names& names)
{
    std::vector<std::size_t> order(names.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t x, std::size_t y) { return names[x] < names[y]; });
    return order;
}

}  // namespace

Pairs::Pairs(const Names& a, const Names& b) : m_inB(a.size(), kNone), m_inA(b.size(), kNone)
{
    const auto pair = [this](std::size_t i, std::size_t j) {
        m_inB[i] = j;
        m_inA[j] = i;
    };
    if (a == b) {
        for (std::size_t i = 0; i < a.size(); ++i)
            pair(i, i);
        m_isIdentity = true;
        return;
    }
    // Sorted and stable, the k-th of a name meets the k-th.
    const std::vector<std::size_t> orderA = SortedByName(a), orderB = SortedByName(b);
    for (auto x = orderA.begin(), y = orderB.begin(); x != orderA.end() && y != orderB.end();) {
        const int order = a[*x].compare(b[*y]);
        if (order == 0)
            pair(*x, *y);
        x += order <= 0;
        y += order >= 0;
    }
    for (std::size_t i = 0; i < a.size(); ++i) {
        const std::size_t j = i == 0 ? 0 : m_inB[i - 1] == kNone ? kNone : m_inB[i - 1] + 1;
        if (m_inB[i] == kNone && j < b.size() && m_inA[j] == kNone)
            pair(i, j);
    }
}

void Pairs::Part(std::size_t a)
{
    m_inA[m_inB[a]] = kNone;
    m_inB[a] = kNone;
}

}  // namespace vela::vlgim::diff
