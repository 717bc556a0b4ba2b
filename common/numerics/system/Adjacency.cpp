#include "numerics/system/Adjacency.h"

#include "numerics/system/BlockVector.h"
#include "parallel/For.h"

#include <numeric>
#include <utility>

namespace numerics
{

Adjacency::Adjacency(const Pattern& pattern, int parts)
    : pattern_(pattern), next_(static_cast<std::size_t>(parts)),
      met_(static_cast<std::size_t>(parts)), adjacency_(pattern.elements.values.size())
{
    ForParts([this](int part) { Count(part); });
    ForParts([this](int part) { DropKnown(part); });
    JoinOrder();
    SumCounts();
    ForParts([this](int part) { Distribute(part); });
    start_ = std::move(next_.back()); // where a row ends, the next begins
    next_.clear();
}

template <class F>
void Adjacency::ForParts(F f)
{
    parallel::ForEach(next_.size(), [&](std::size_t part) { f(int(part)); });
}

/// Counts how often the part's elements touch each equation, and notes which they touch first.
void Adjacency::Count(int part)
{
    const int* const lists = pattern_.elements.values.data();
    const int* const begin = lists + pattern_.ElementStart(Border(part));
    const int* const end = lists + pattern_.ElementStart(Border(part + 1));
    RawVector<int>& next = next_[std::size_t(part)];
    RawVector<int>& met = met_[std::size_t(part)];
    next.assign(std::size_t(pattern_.n) + 1, 0);
    met.resize(std::min(std::size_t(pattern_.n), std::size_t(end - begin)));
    int* const count = next.data() + 1;
    int* to = met.data();
    for (const int* equation = begin; equation != end; ++equation)
        if (count[*equation]++ == 0)
            *to++ = *equation;
    met.resize(std::size_t(to - met.data()));
}

/// Leaves to a part the equations that no part before it touches.
void Adjacency::DropKnown(int part)
{
    const auto isKnown = [&](int equation) {
        return std::any_of(next_.begin(), next_.begin() + part, [&](const RawVector<int>& next) {
            return next[std::size_t(equation) + 1] != 0;
        });
    };
    RawVector<int>& met = met_[std::size_t(part)];
    if (part > 0)
        met.erase(std::remove_if(met.begin(), met.end(), isKnown), met.end());
}

void Adjacency::JoinOrder()
{
    order_ = std::move(met_[0]);
    for (std::size_t part = 1; part < met_.size(); ++part)
        order_.insert(order_.end(), met_[part].begin(), met_[part].end());
    met_.clear();
}

/// Makes the counts positions, block by block of the equations.
void Adjacency::SumCounts()
{
    std::vector<int> blockStart(std::size_t(BlockCount(pattern_.n)) + 1);
    ForBlocks(pattern_.n, [&](int block, int begin, int end) {
        for (const RawVector<int>& count : next_)
            blockStart[std::size_t(block) + 1] +=
                std::accumulate(count.begin() + begin + 1, count.begin() + end + 1, 0);
    });
    std::partial_sum(blockStart.begin(), blockStart.end(), blockStart.begin());
    ForBlocks(pattern_.n, [&](int block, int begin, int end) {
        int sum = blockStart[std::size_t(block)];
        for (int i = begin; i < end; ++i)
            for (RawVector<int>& count : next_)
                sum += std::exchange(count[std::size_t(i) + 1], sum);
    });
}

void Adjacency::Distribute(int part)
{
    int* const next = next_[std::size_t(part)].data() + 1;
    Touch* const touches = adjacency_.data();
    const int* equation = pattern_.elements.values.data() + pattern_.ElementStart(Border(part));
    for (std::size_t e = Border(part), last = Border(part + 1); e < last; ++e)
        for (int place = 0, size = pattern_.ElementSize(e); place < size; ++place)
            touches[next[*equation++]++] = {int(e), place};
}

} // namespace numerics
