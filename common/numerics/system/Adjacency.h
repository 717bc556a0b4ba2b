/// @file
/// @internal The elements that touch each equation.
#pragma once

#include "numerics/system/Pattern.h"
#include "numerics/system/RawVector.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace numerics
{

/// One occurrence of an equation in an element's list.
struct Touch
{
    int element;
    int place;
};

/// For each equation its places in element lists, by a counting sort: ascending elements.
class Adjacency
{
public:
    /// Each of @p parts of the elements has its own next place in every equation's row.
    Adjacency(const Pattern& pattern, int parts);

    const Touch* begin(int row) const { return adjacency_.data() + start_[std::size_t(row)]; }
    const Touch* end(int row) const { return adjacency_.data() + start_[std::size_t(row) + 1]; }
    /// Prefetches a row that is needed shortly.
    void Fetch(int row) const { __builtin_prefetch(begin(row)); }
    /// Do two rows belong to the same elements, and so have the same columns?
    bool HaveEqualRows(int a, int b) const
    {
        return std::equal(begin(a), end(a), begin(b), end(b),
                          [](Touch x, Touch y) { return x.element == y.element; });
    }
    /// The rows that elements touch, in the order of their first occurrence in the lists.
    /// Consecutive rows here share elements, however the equations are numbered.
    const RawVector<int>& Order() const { return order_; }

private:
    template <class F>
    void ForParts(F f);
    std::size_t Border(int part) const
    {
        return pattern_.elements.Count() * std::size_t(part) / next_.size();
    }
    void Count(int part);
    void DropKnown(int part);
    void JoinOrder();
    void SumCounts();
    void Distribute(int part);

    const Pattern& pattern_;
    std::vector<RawVector<int>> next_; ///< of each part, one after each equation
    std::vector<RawVector<int>> met_;  ///< of each part: its equations as they occur first
    RawVector<int> start_;
    RawVector<Touch> adjacency_;
    RawVector<int> order_;
};

} // namespace numerics
