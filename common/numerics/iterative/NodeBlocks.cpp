#include "numerics/iterative/NodeBlocks.h"

#include "numerics/iterative/Aggregation.h"
#include "numerics/iterative/GaussSeidel.h"
#include "numerics/iterative/WholeBlocks.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <numeric>
#include <utility>

namespace numerics
{
namespace
{

constexpr int kMost = 3; // unknowns of a node
constexpr int kNone = -1;

using Groups = NodeBlocks::Groups;

Groups EqualRows(const MatrixView& A)
{
    RawVector<std::uint64_t> hash(static_cast<std::size_t>(A.n));
    ForBlocks(A.n, [&](int, int begin, int end) {
        for (int i = begin; i < end; ++i)
        {
            std::uint64_t sum = 0;
            for (int k = A.rowStart[i]; k < A.rowStart[i + 1]; ++k)
                sum = (sum ^ std::uint64_t(A.columns[k])) * 0x9e3779b97f4a7c15u + 1;
            hash[std::size_t(i)] = sum;
        }
    });
    const auto areEqual = [&](int i, int j) {
        const int length = A.rowStart[i + 1] - A.rowStart[i];
        return hash[std::size_t(i)] == hash[std::size_t(j)] &&
               length == A.rowStart[j + 1] - A.rowStart[j] &&
               std::equal(A.columns + A.rowStart[i], A.columns + A.rowStart[i + 1],
                          A.columns + A.rowStart[j]);
    };
    // An equal row before each. Equal rows contain each other's columns, as each contains its own.
    RawVector<int> equal(static_cast<std::size_t>(A.n));
    ForBlocks(A.n, [&](int, int begin, int end) {
        for (int i = begin; i < end; ++i)
        {
            const int *column = A.columns + A.rowStart[i], *last = A.columns + A.rowStart[i + 1];
            while (column != last && *column < i && !areEqual(i, *column))
                ++column;
            equal[std::size_t(i)] = column != last && *column < i ? *column : kNone;
        }
    });
    Groups groups;
    groups.of.resize(static_cast<std::size_t>(A.n));
    for (std::size_t i = 0; i < groups.of.size(); ++i)
    {
        if (equal[i] == kNone)
            groups.size.push_back(0);
        groups.of[i] =
            equal[i] == kNone ? int(groups.size.size()) - 1 : groups.of[std::size_t(equal[i])];
        ++groups.size[std::size_t(groups.of[i])];
    }
    return groups;
}

/// The size of the groups that hold most unknowns, 1 when larger than a node.
int PrevailingSize(const Groups& groups)
{
    std::array<std::size_t, kMost + 1> held{};
    for (const int size : groups.size)
        if (size <= kMost)
            held[std::size_t(size)] += std::size_t(size);
    return int(std::max_element(held.begin() + 1, held.end()) - held.begin());
}

/// The nodes of at most @p unknowns unknowns. Nodes that belong to one element only, as at the
/// corners of a mesh, have equal rows: such a group is divided in the order of the numbers, by
/// neighbours where these are consecutive, else with one unknown of each section.
std::vector<std::vector<int>> Nodes(const Groups& groups, int unknowns)
{
    const auto size = std::size_t(unknowns);
    std::vector<std::vector<int>> members(groups.size.size()), nodes;
    for (std::size_t i = 0; i < groups.of.size(); ++i)
        members[std::size_t(groups.of[i])].push_back(int(i));
    for (std::vector<int>& group : members)
    {
        if (group.size() <= size)
        {
            nodes.push_back(std::move(group));
            continue;
        }
        const std::size_t count = (group.size() + size - 1) / size;
        const bool areNeighbours = group[1] == group[0] + 1;
        for (std::size_t node = 0; node < count; ++node)
        {
            nodes.emplace_back();
            for (std::size_t c = 0; c < size; ++c)
                if (const std::size_t at = areNeighbours ? node * size + c : c * count + node;
                    at < group.size())
                    nodes.back().push_back(group[at]);
        }
    }
    return nodes;
}

/// Are the numbers of coupled nodes near each other?
template <class F>
bool HasNearNumbers(const MatrixView& A, std::size_t nodes, F nodeOf)
{
    constexpr double kNear = 1 / 16.0; // of all nodes
    double distance = 0;
    for (int i = 0; i < A.n; ++i)
        for (int k = A.rowStart[i]; k < A.rowStart[i + 1]; ++k)
            distance += std::abs(nodeOf(i) - nodeOf(A.columns[k]));
    return distance < kNear * double(nodes) * A.rowStart[A.n];
}

/// Visits the nodes and assigns a component to every unknown.
class Walk
{
public:
    Walk(const MatrixView& A, std::vector<std::vector<int>> nodes, int unknowns)
        : A_(A), nodes_(std::move(nodes)), unknowns_(unknowns),
          nodeOf_(static_cast<std::size_t>(A.n)), component_(static_cast<std::size_t>(A.n), kNone),
          isMet_(nodes_.size()), isWhole_(nodes_.size())
    {
        for (std::size_t node = 0; node < nodes_.size(); ++node)
            for (const int i : nodes_[node])
                nodeOf_[std::size_t(i)] = int(node);
        for (std::size_t node = 0; node < nodes_.size(); ++node)
            isWhole_[node] = IsWhole(nodes_[node]);
    }

    /// @returns the nodes in the order of their numbers where neighbours have near ones, which
    /// suits
    ///          the smoother, else in the order of the walk
    std::vector<int> Run()
    {
        std::vector<int> order = WalkAll();
        if (HasNearNumbers(A_, nodes_.size(), [this](int i) { return NodeOf(i); }))
            std::sort(order.begin(), order.end());
        return order;
    }
    const std::vector<int>& Members(int node) const { return nodes_[std::size_t(node)]; }
    int Component(int i) const { return component_[std::size_t(i)]; }
    int NodeOf(int i) const { return nodeOf_[std::size_t(i)]; }

private:
    std::vector<int> WalkAll()
    {
        std::vector<int> order;
        order.reserve(nodes_.size());
        // Nodes with a component left out or fixed come last, beside neighbours that are known.
        for (const bool isLast : {false, true})
            for (std::size_t node = 0; node < nodes_.size(); ++node)
            {
                if (!IsMeetable(int(node), isLast))
                    continue;
                std::size_t next = order.size();
                for (Meet(int(node), order); next < order.size(); ++next)
                    Visit(order[next], isLast, order);
            }
        return order;
    }
    bool IsMeetable(int node, bool isLast) const
    {
        return !isMet_[std::size_t(node)] && (isLast || isWhole_[std::size_t(node)]);
    }
    /// Is the node complete, with every component coupled to other nodes?
    bool IsWhole(const std::vector<int>& members) const
    {
        return int(members.size()) == unknowns_ &&
               std::all_of(members.begin(), members.end(), [&](int i) {
                   for (int k = A_.rowStart[i]; k < A_.rowStart[i + 1]; ++k)
                       if (A_.values[k] != 0 && NodeOf(A_.columns[k]) != NodeOf(i))
                           return true;
                   return false;
               });
    }
    void Meet(int node, std::vector<int>& order)
    {
        isMet_[std::size_t(node)] = 1;
        order.push_back(node);
    }
    void Visit(int node, bool isLast, std::vector<int>& order)
    {
        Assign(Members(node));
        const int first = Members(node)[0];
        for (int k = A_.rowStart[first]; k < A_.rowStart[first + 1]; ++k)
            if (const int other = NodeOf(A_.columns[k]); IsMeetable(other, isLast))
                Meet(other, order);
    }
    /// The components that couple the members most to those of the same component around.
    void Assign(const std::vector<int>& members)
    {
        // Incomplete nodes get a small weight: they couple to the components present, not to equal
        // ones.
        constexpr double kDoubtful = 1e-3;
        double weight[kMost][kMost] = {}; // member, component
        for (std::size_t m = 0; m < members.size(); ++m)
            for (int k = A_.rowStart[members[m]]; k < A_.rowStart[members[m] + 1]; ++k)
            {
                const int j = A_.columns[k];
                if (const int c = Component(j); c >= 0)
                    weight[m][c] += (isWhole_[std::size_t(NodeOf(j))] ? 1 : kDoubtful) *
                                    std::fabs(A_.values[k]);
            }
        std::array<int, kMost> order{}, best{};
        std::iota(order.begin(), order.end(), 0);
        double largest = -1;
        do
        {
            double sum = 0;
            for (std::size_t m = 0; m < members.size(); ++m)
                sum += weight[m][std::size_t(order[m])];
            if (sum > largest * (1 + 1e-9))
            {
                largest = sum;
                best = order;
            }
        } while (std::next_permutation(order.begin(), order.begin() + unknowns_));
        for (std::size_t m = 0; m < members.size(); ++m)
            component_[std::size_t(members[m])] = best[m];
    }

    const MatrixView& A_;
    std::vector<std::vector<int>> nodes_;
    int unknowns_;
    std::vector<int> nodeOf_, component_;
    std::vector<char> isMet_, isWhole_;
};

bool LacksBand(const MatrixView& A)
{
    constexpr int kLarge = 16384, kFew = 8; // equations; blocks that threads share
    return A.n >= kLarge && BandBlocks(A).size() <= kFew;
}

/// The nodes in the order in which they are met from the first one on, forNeighbours(node, f)
/// calling f(neighbour).
template <class F>
std::vector<int> BreadthFirst(int nodes, F forNeighbours)
{
    std::vector<int> order;
    std::vector<char> isMet(static_cast<std::size_t>(nodes));
    order.reserve(isMet.size());
    const auto meet = [&](int node) {
        if (!isMet[std::size_t(node)])
            order.push_back(node);
        isMet[std::size_t(node)] = 1;
    };
    for (int node = 0; node < nodes; ++node)
    {
        std::size_t next = order.size();
        for (meet(node); next < order.size(); ++next)
            forNeighbours(order[next], meet);
    }
    return order;
}

} // namespace

void NodeBlocks::Build(const MatrixView& A)
{
    from.clear();
    unknowns = UnknownsPerNode(A);
    if (unknowns == 1)
    {
        const Groups groups = EqualRows(A);
        const int size = PrevailingSize(groups);
        constexpr double kMostPositions = 2e9;
        if (size > 1 && double(A.rowStart[A.n]) * size * size <= kMostPositions)
            return FromGroups(A, groups, size);
    }
    if (LacksBand(A))
        InBand(A);
}

void NodeBlocks::Build(const MatrixView& A, const UnknownPlaces& places)
{
    from.clear();
    unknowns = places.dimensions;
    if (!places.AreInOrder() || !HasUniformGroups(A, unknowns))
        FromPlaces(A, places);
    else if (LacksBand(A))
        InBand(A);
}

/// The nodes breadth first.
void NodeBlocks::InBand(const MatrixView& A)
{
    const int nodes = A.n / unknowns;
    const std::vector<int> order = BreadthFirst(nodes, [&](int node, auto meet) {
        const int row = node * unknowns;
        for (int k = A.rowStart[row]; k < A.rowStart[row + 1]; k += unknowns)
            meet(A.columns[k] / unknowns);
    });
    std::vector<int> rank(order.size());
    for (std::size_t k = 0; k < order.size(); ++k)
        rank[std::size_t(order[k])] = int(k);
    from.resize(static_cast<std::size_t>(A.n));
    ForBlocks(A.n, [&](int, int begin, int end) {
        for (int i = begin; i < end; ++i)
            from[std::size_t(i)] = order[std::size_t(i / unknowns)] * unknowns + i % unknowns;
    });
    matrix = MakeRows(A.n, A.n, A.rowStart[A.n], [&](SparseRows& part, int begin, int end) {
        for (int i = begin; i < end; ++i)
        {
            const int row = from[std::size_t(i)];
            for (int k = A.rowStart[row]; k < A.rowStart[row + 1]; ++k)
            {
                const int j = A.columns[k];
                part.columns.push_back(rank[std::size_t(j / unknowns)] * unknowns + j % unknowns);
                part.values.push_back(A.values[k]);
            }
            part.EndRow();
        }
        SortRows(part);
    });
}

void NodeBlocks::FromGroups(const MatrixView& A, const Groups& groups, int size)
{
    unknowns = size;
    Walk walk(A, Nodes(groups, size), size);
    const std::vector<int> order = walk.Run();
    from.assign(order.size() * std::size_t(size), kNone);
    for (std::size_t k = 0; k < order.size(); ++k)
        for (const int i : walk.Members(order[k]))
            from[k * std::size_t(size) + std::size_t(walk.Component(i))] = i;
    matrix = InWholeBlocks(A, from, unknowns);
}

void NodeBlocks::FromPlaces(const MatrixView& A, const UnknownPlaces& places)
{
    from = places.nodes;
    const auto size = std::size_t(unknowns), nodes = from.size() / size;
    std::vector<int> nodeOf(static_cast<std::size_t>(A.n));
    for (std::size_t row = 0; row < from.size(); ++row)
        if (from[row] >= 0)
            nodeOf[std::size_t(from[row])] = int(row / size);
    const auto members = [&](int node) { return &places.nodes[std::size_t(node) * size]; };
    if (!HasNearNumbers(A, nodes, [&](int i) { return nodeOf[std::size_t(i)]; }))
    {
        const std::vector<int> order = BreadthFirst(int(nodes), [&](int node, auto meet) {
            for (std::size_t c = 0; c < size; ++c)
                if (const int i = members(node)[c]; i >= 0)
                    for (int k = A.rowStart[i]; k < A.rowStart[i + 1]; ++k)
                        meet(nodeOf[std::size_t(A.columns[k])]);
        });
        for (std::size_t k = 0; k < nodes; ++k)
            std::copy_n(members(order[k]), size, &from[k * size]);
    }
    matrix = InWholeBlocks(A, from, unknowns);
}

Reordered::Reordered(Preconditioner& inner, const NodeBlocks& blocks)
    : inner_(inner), blocks_(blocks), r_(blocks.from.size()), z_(blocks.from.size())
{
}

void Reordered::Apply(const double* r, double* z)
{
    ForBlocks(int(r_.size()), [=, this](int, int begin, int end) {
        for (int k = begin; k < end; ++k)
        {
            const int row = blocks_.from[std::size_t(k)];
            r_[std::size_t(k)] = row < 0 ? 0.0 : r[row];
        }
    });
    inner_.Apply(r_.data(), z_.data());
    ForBlocks(int(z_.size()), [=, this](int, int begin, int end) {
        for (int k = begin; k < end; ++k)
            if (const int row = blocks_.from[std::size_t(k)]; row >= 0)
                z[row] = z_[std::size_t(k)];
    });
}

} // namespace numerics
