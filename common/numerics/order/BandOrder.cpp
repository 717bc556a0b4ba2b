#include "numerics/order/BandOrder.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace numerics
{
namespace
{

class Search
{
public:
    explicit Search(const AdjacencyGraph& graph)
        : graph_(graph), seenIn_(static_cast<std::size_t>(graph.Size()), 0)
    {
        order_.reserve(seenIn_.size());
    }

    std::vector<int> Run()
    {
        for (int vertex = 0; vertex < graph_.Size(); ++vertex)
            if (seenIn_[std::size_t(vertex)] != kPlaced)
                Place(Remote(vertex));
        std::reverse(order_.begin(), order_.end());
        return std::move(order_);
    }

private:
    static constexpr int kPlaced = -1;

    int Degree(int v) const
    {
        return graph_.start[std::size_t(v) + 1] - graph_.start[std::size_t(v)];
    }

    /// Appends the unseen neighbours of @p v to @p to, marked with @p mark.
    void Visit(int v, int mark, std::vector<int>& to)
    {
        for (int k = graph_.start[std::size_t(v)]; k < graph_.start[std::size_t(v) + 1]; ++k)
        {
            const int neighbour = graph_.neighbours[std::size_t(k)];
            int& seen = seenIn_[std::size_t(neighbour)];
            if (seen == kPlaced || seen == mark)
                continue;
            seen = mark;
            to.push_back(neighbour);
        }
    }

    /// The distance of the vertices farthest from @p from, and the one of least degree among them.
    std::pair<int, int> Farthest(int from)
    {
        const int mark = ++searches_;
        queue_.assign(1, from);
        seenIn_[std::size_t(from)] = mark;
        std::size_t levelBegin = 0;
        int distance = 0;
        for (;; ++distance)
        {
            const std::size_t levelEnd = queue_.size();
            for (std::size_t at = levelBegin; at < levelEnd; ++at)
                Visit(queue_[at], mark, queue_);
            if (queue_.size() == levelEnd)
                break;
            levelBegin = levelEnd;
        }
        const auto last = queue_.begin() + std::ptrdiff_t(levelBegin);
        return {distance, *std::min_element(last, queue_.end(),
                                            [&](int a, int b) { return Degree(a) < Degree(b); })};
    }

    /// A vertex of @p start's part from which the farthest is about as far as can be.
    int Remote(int start)
    {
        constexpr int kTries = 5;
        auto [distance, end] = Farthest(start);
        for (int i = 0; i < kTries; ++i)
        {
            const auto [next, other] = Farthest(end);
            if (next <= distance)
                break;
            distance = next;
            start = end;
            end = other;
        }
        return start;
    }

    /// Appends the part of @p start breadth first, neighbours by ascending degree.
    void Place(int start)
    {
        std::size_t at = order_.size();
        order_.push_back(start);
        seenIn_[std::size_t(start)] = kPlaced;
        for (; at < order_.size(); ++at)
        {
            const std::size_t before = order_.size();
            Visit(order_[at], kPlaced, order_);
            std::stable_sort(order_.begin() + std::ptrdiff_t(before), order_.end(),
                             [&](int a, int b) { return Degree(a) < Degree(b); });
        }
    }

    const AdjacencyGraph& graph_;
    std::vector<int> seenIn_; ///< number of the last search that met the vertex, or kPlaced
    std::vector<int> queue_, order_;
    int searches_ = 0;
};

} // namespace

std::vector<int> BandOrder(const AdjacencyGraph& graph) { return Search(graph).Run(); }

} // namespace numerics
