#include "numerics/order/GraphSeparator.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <random>
#include <utility>

namespace numerics
{
namespace
{

using Sides = std::vector<signed char>;

constexpr int kCoarsest = 80;        // number of vertices at which a separator is computed directly
constexpr double kLargestSide = 0.6; // of the weight

/// One of the graphs between the given one and the coarsest.
struct Level
{
    AdjacencyGraph graph;
    std::vector<int> edgeWeight;
    std::vector<int> coarse; ///< vertex of the next level that takes up each vertex
    long long total = 0;
};

/// Matches each vertex with the neighbour to which it has most edges. @returns the number of pairs
/// and single vertices
int Match(Level& level, std::mt19937& random)
{
    const AdjacencyGraph& graph = level.graph;
    const std::size_t n = std::size_t(graph.Size());
    const long long heaviest = std::max<long long>(3 * level.total / (2 * kCoarsest), 1);
    std::vector<int> order(n);
    for (std::size_t v = 0; v < n; ++v)
        order[v] = int(v);
    // Nearly in the given order, which keeps neighbours together, but randomised to avoid its
    // patterns.
    for (std::size_t v = 0; v + 8 < n; ++v)
        std::swap(order[v], order[v + random() % 8]);
    level.coarse.assign(n, -1);
    int count = 0;
    for (const int v : order)
    {
        if (level.coarse[std::size_t(v)] >= 0)
            continue;
        int best = -1, bestWeight = 0, bestSize = 0;
        for (int k = graph.start[std::size_t(v)]; k < graph.start[std::size_t(v) + 1]; ++k)
        {
            const int u = graph.neighbours[std::size_t(k)],
                      weight = level.edgeWeight[std::size_t(k)];
            const int size = graph.weight[std::size_t(u)];
            if (level.coarse[std::size_t(u)] >= 0 || weight < bestWeight ||
                size + graph.weight[std::size_t(v)] > heaviest)
                continue;
            if (weight > bestWeight || size < bestSize)
            {
                best = u;
                bestWeight = weight;
                bestSize = size;
            }
        }
        level.coarse[std::size_t(v)] = count;
        if (best >= 0)
            level.coarse[std::size_t(best)] = count;
        ++count;
    }
    return count;
}

Level Coarsen(const Level& fine, int count)
{
    Level level;
    level.total = fine.total;
    AdjacencyGraph& graph = level.graph;
    graph.weight.assign(std::size_t(count), 0);
    graph.start.reserve(std::size_t(count) + 1);
    graph.neighbours.reserve(fine.graph.neighbours.size() * 2 / 3);
    level.edgeWeight.reserve(fine.graph.neighbours.size() * 2 / 3);
    std::vector<std::pair<int, int>> members(std::size_t(count), {-1, -1});
    for (int v = 0; v < fine.graph.Size(); ++v)
    {
        auto& pair = members[std::size_t(fine.coarse[std::size_t(v)])];
        (pair.first < 0 ? pair.first : pair.second) = v;
    }
    std::vector<int> place(std::size_t(count), -1);
    for (int c = 0; c < count; ++c)
    {
        const int first = graph.start.back();
        for (const int v : {members[std::size_t(c)].first, members[std::size_t(c)].second})
        {
            if (v < 0)
                continue;
            graph.weight[std::size_t(c)] += fine.graph.weight[std::size_t(v)];
            for (int k = fine.graph.start[std::size_t(v)]; k < fine.graph.start[std::size_t(v) + 1];
                 ++k)
            {
                const int u = fine.coarse[std::size_t(fine.graph.neighbours[std::size_t(k)])];
                if (u == c)
                    continue;
                int& at = place[std::size_t(u)];
                if (at < first)
                {
                    at = int(graph.neighbours.size());
                    graph.neighbours.push_back(u);
                    level.edgeWeight.push_back(0);
                }
                level.edgeWeight[std::size_t(at)] += fine.edgeWeight[std::size_t(k)];
            }
        }
        graph.start.push_back(int(graph.neighbours.size()));
    }
    return level;
}

/// Improves a separator by moving it through the graph, in passes towards one side or the other.
class Refinement
{
public:
    Refinement(const Level& level, Sides& sides)
        : graph_(level.graph), sides_(sides), gain_(sides.size()), isChanged_(sides.size())
    {
        largest_ = std::max((long long)(kLargestSide * double(level.total)), 1LL);
        for (int v = 0; v < graph_.Size(); ++v)
        {
            weight_[Side(v)] += Weight(v);
            if (Side(v) == kSeparator)
                separator_.push_back(v);
        }
    }
    /// Ends when a pass to either side brings nothing.
    void Run()
    {
        constexpr int kMostPasses = 6;
        int to = weight_[0] < weight_[1] ? 0 : 1;
        for (int pass = 0, failures = 0; pass < kMostPasses && failures < 2; ++pass, to = 1 - to)
            failures = Pass(to) ? 0 : failures + 1;
    }
    /// To be minimised: the separator's weight, and a small penalty for unbalanced sides.
    double Cost() const
    {
        const double heavier = double(std::max(weight_[0], weight_[1]));
        const double all = double(weight_[0] + weight_[1] + weight_[2]);
        return double(weight_[2]) * (1 + 0.1 * heavier / std::max(all, 1.0)) +
               (heavier > double(largest_) ? heavier - double(largest_) : 0);
    }

private:
    static constexpr int kEntering = std::numeric_limits<int>::min(); // the gain is not yet known

    template <class F>
    void ForNeighbours(int v, F f)
    {
        for (int k = graph_.start[std::size_t(v)]; k < graph_.start[std::size_t(v) + 1]; ++k)
            f(graph_.neighbours[std::size_t(k)]);
    }
    /// Weight by which the separator gets smaller when v leaves it: v's neighbours on the side that
    /// gives come into the separator.
    int& Gain(int v) { return gain_[std::size_t(v)]; }
    int Weight(int v) const { return graph_.weight[std::size_t(v)]; }
    signed char& Side(int v) { return sides_[std::size_t(v)]; }

    void Push(int v)
    {
        moves_.emplace_back(Gain(v), v);
        std::push_heap(moves_.begin(), moves_.end());
    }
    void Change(int v, int side)
    {
        log_.emplace_back(v, Side(v));
        weight_[Side(v)] -= Weight(v);
        weight_[side] += Weight(v);
        Side(v) = static_cast<signed char>(side);
    }
    /// Finds the separator's vertices, and their gains when the side @p from gives.
    void Begin(int from)
    {
        moves_.clear();
        log_.clear();
        std::sort(separator_.begin(), separator_.end());
        separator_.erase(std::unique(separator_.begin(), separator_.end()), separator_.end());
        std::erase_if(separator_, [this](int v) { return Side(v) != kSeparator; });
        for (const int v : separator_)
        {
            Gain(v) = Weight(v);
            ForNeighbours(v, [&](int u) { Gain(v) -= Side(u) == from ? Weight(u) : 0; });
            Push(v);
        }
    }
    /// Moves v out of the separator, and its neighbours on the side @p from into it.
    void Move(int v, int from)
    {
        Change(v, 1 - from);
        const std::size_t known = separator_.size();
        ForNeighbours(v, [&](int u) {
            if (Side(u) != from)
                return;
            Change(u, kSeparator);
            Gain(u) = kEntering;
            separator_.push_back(u);
        });
        entering_.clear();
        changed_.clear();
        for (std::size_t k = known; k < separator_.size(); ++k)
        {
            const int u = separator_[k];
            int gain = Weight(u);
            ForNeighbours(u, [&](int x) {
                if (Side(x) == from)
                    gain -= Weight(x);
                else if (Side(x) == kSeparator && Gain(x) != kEntering)
                {
                    Gain(x) += Weight(u); // u has left the side that gives
                    if (!isChanged_[std::size_t(x)])
                        changed_.push_back(x);
                    isChanged_[std::size_t(x)] = 1;
                }
            });
            entering_.push_back(gain);
        }
        for (std::size_t k = known; k < separator_.size(); ++k)
        {
            Gain(separator_[k]) = entering_[k - known];
            Push(separator_[k]);
        }
        for (const int x : changed_)
        {
            isChanged_[std::size_t(x)] = 0;
            Push(x);
        }
    }
    /// Moves the separator towards the side @p from, the best vertex first, also where that costs
    /// something, and returns to the best one seen. @returns whether it is better than before
    bool Pass(int to)
    {
        const int from = 1 - to;
        Begin(from);
        const std::size_t mostIdle = 40 + std::min<std::size_t>(2 * separator_.size(), 300);
        const double before = Cost();
        double best = before;
        std::size_t bestLength = 0;
        for (std::size_t idle = 0; !moves_.empty() && idle < mostIdle;)
        {
            const auto [gain, v] = moves_.front();
            std::pop_heap(moves_.begin(), moves_.end());
            moves_.pop_back();
            if (Side(v) != kSeparator || gain != Gain(v) || weight_[to] + Weight(v) > largest_)
                continue;
            Move(v, from);
            ++idle;
            if (Cost() < best)
            {
                best = Cost();
                bestLength = log_.size();
                idle = 0;
            }
        }
        for (; log_.size() > bestLength; log_.pop_back())
        {
            const auto [v, side] = log_.back();
            weight_[Side(v)] -= Weight(v);
            weight_[side] += Weight(v);
            Side(v) = side;
            if (side == kSeparator)
                separator_.push_back(v);
        }
        return best < before;
    }

    const AdjacencyGraph& graph_;
    Sides& sides_;
    long long weight_[3] = {0, 0, 0};
    long long largest_ = 0;
    std::vector<int> gain_;
    std::vector<int> separator_;                   ///< its vertices, and some that have left it
    std::vector<std::pair<int, int>> moves_;       ///< a heap of gains, those now wrong among them
    std::vector<std::pair<int, signed char>> log_; ///< former sides, in the order of the changes
    std::vector<int> entering_, changed_;          ///< gains and vertices, of one move
    std::vector<char> isChanged_;
};

/// Grows side 0 from a vertex far from @p seed until it has half of the weight; its border is the
/// separator.
Sides Grow(const Level& level, int seed, int sweeps)
{
    const AdjacencyGraph& graph = level.graph;
    const std::size_t n = std::size_t(graph.Size());
    Sides sides(n, 1);
    std::vector<int> queue;
    std::vector<char> seen;
    int start = seed;
    for (int sweep = 0; sweep < sweeps;
         ++sweep) // the last vertex of the first sweep starts the second
    {
        queue.assign(1, start);
        seen.assign(n, 0);
        seen[std::size_t(start)] = 1;
        for (std::size_t head = 0; head < queue.size(); ++head)
            for (int k = graph.start[std::size_t(queue[head])];
                 k < graph.start[std::size_t(queue[head]) + 1]; ++k)
            {
                const int u = graph.neighbours[std::size_t(k)];
                if (!seen[std::size_t(u)])
                    queue.push_back(u);
                seen[std::size_t(u)] = 1;
            }
        start = queue.back();
    }
    for (std::size_t v = 0; v < n; ++v) // other components last
        if (!seen[v])
            queue.push_back(int(v));
    long long grown = 0;
    std::size_t taken = 0;
    for (; taken < n && 2 * grown < level.total; ++taken)
    {
        sides[std::size_t(queue[taken])] = 0;
        grown += graph.weight[std::size_t(queue[taken])];
    }
    for (std::size_t k = 0; k < taken; ++k)
    {
        const std::size_t v = std::size_t(queue[k]);
        for (int l = graph.start[v]; l < graph.start[v + 1]; ++l)
            if (sides[std::size_t(graph.neighbours[std::size_t(l)])] == 1)
                sides[v] = kSeparator;
    }
    return sides;
}

/// One separator by multilevel coarsening. @p cost receives its cost.
Sides TrySeparator(std::vector<Level>& levels, std::mt19937& random, double& cost)
{
    levels.resize(1);
    while (levels.back().graph.Size() > kCoarsest)
    {
        const int count = Match(levels.back(), random);
        if (count > levels.back().graph.Size() * 9 / 10)
            break;
        levels.push_back(Coarsen(levels.back(), count));
    }
    Sides best;
    for (int trial = 0; trial < 8; ++trial)
    {
        const Level& coarsest = levels.back();
        const int seed = int(random() % unsigned(coarsest.graph.Size()));
        Sides sides = Grow(coarsest, seed, 1 + trial % 2);
        Refinement refinement(coarsest, sides);
        refinement.Run();
        if (best.empty() || refinement.Cost() < cost)
        {
            cost = refinement.Cost();
            best = std::move(sides);
        }
    }
    for (std::size_t k = levels.size() - 1; k-- > 0;)
    {
        Sides fine(levels[k].coarse.size());
        for (std::size_t v = 0; v < fine.size(); ++v)
            fine[v] = best[std::size_t(levels[k].coarse[v])];
        best = std::move(fine);
        Refinement refinement(levels[k], best);
        refinement.Run();
        cost = refinement.Cost();
    }
    return best;
}

} // namespace

Sides FindSeparator(const AdjacencyGraph& graph)
{
    std::mt19937 random(7);
    std::vector<Level> levels(1);
    levels[0].graph = graph;
    levels[0].edgeWeight.assign(graph.neighbours.size(), 1);
    for (const int weight : graph.weight)
        levels[0].total += weight;
    // Where the work is counted in minutes a percent of it pays for another attempt.
    const int attempts = graph.Size() > 50000 ? 2 : 1;
    Sides best;
    double least = 0;
    for (int attempt = 0; attempt < attempts; ++attempt)
    {
        double cost = 0;
        Sides sides = TrySeparator(levels, random, cost);
        if (best.empty() || cost < least)
        {
            least = cost;
            best = std::move(sides);
        }
    }
    return best;
}

} // namespace numerics
