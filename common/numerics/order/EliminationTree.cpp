#include "numerics/order/EliminationTree.h"

#include <cstddef>
#include <numeric>

namespace numerics
{
namespace
{

/// Puts the graph into the tree's order: for each step the earlier steps connected to it.
void FillEarlier(const AdjacencyGraph& graph, EliminationTree& tree)
{
    const std::size_t n = std::size_t(graph.Size());
    std::vector<int> step(n);
    for (std::size_t k = 0; k < n; ++k)
        step[std::size_t(tree.order[k])] = int(k);
    tree.start.assign(n + 1, 0);
    tree.earlier.resize(graph.neighbours.size() / 2);
    std::size_t count = 0;
    for (std::size_t k = 0; k < n; ++k)
    {
        const std::size_t vertex = std::size_t(tree.order[k]);
        for (int l = graph.start[vertex]; l < graph.start[vertex + 1]; ++l)
        {
            const int other = step[std::size_t(graph.neighbours[std::size_t(l)])];
            if (other < int(k))
                tree.earlier[count++] = other;
        }
        tree.start[k + 1] = int(count);
    }
}

void FindParents(EliminationTree& tree)
{
    const std::size_t n = tree.order.size();
    tree.parent.assign(n, -1);
    std::vector<int> ancestor(n, -1); // a short cut towards the root found so far
    for (std::size_t k = 0; k < n; ++k)
        for (int l = tree.start[k]; l < tree.start[k + 1]; ++l)
        {
            int at = tree.earlier[std::size_t(l)];
            while (at >= 0 && at < int(k))
            {
                const int next = ancestor[std::size_t(at)];
                ancestor[std::size_t(at)] = int(k);
                if (next < 0)
                    tree.parent[std::size_t(at)] = int(k);
                at = next;
            }
        }
}

/// Adds the weight of each row to the columns of its subtree: added at its leaves, subtracted where
/// paths from two leaves meet, so that sums over subtrees give the counts.
void CountColumns(const AdjacencyGraph& graph, EliminationTree& tree)
{
    const std::size_t n = tree.order.size();
    std::vector<int> firstDescendant(n), lastLeaf(n, -1), root(n);
    std::iota(firstDescendant.begin(), firstDescendant.end(), 0);
    std::iota(root.begin(), root.end(), 0);
    for (std::size_t j = 0; j < n; ++j)
        if (const int up = tree.parent[j]; up >= 0 && firstDescendant[std::size_t(up)] == up)
            firstDescendant[std::size_t(up)] = firstDescendant[j];
    // Later neighbours of each step, in ascending order.
    std::vector<int> laterStart(n + 1, 0), later(tree.earlier.size());
    for (const int j : tree.earlier)
        ++laterStart[std::size_t(j) + 1];
    for (std::size_t j = 0; j < n; ++j)
        laterStart[j + 1] += laterStart[j];
    std::vector<int> next(laterStart.begin(), laterStart.end() - 1);
    for (std::size_t k = 0; k < n; ++k)
        for (int l = tree.start[k]; l < tree.start[k + 1]; ++l)
            later[std::size_t(next[std::size_t(tree.earlier[std::size_t(l)])]++)] = int(k);

    std::vector<int>& count = tree.count;
    count.assign(n, 0);
    for (std::size_t j = 0; j < n; ++j)
    {
        const int ownWeight = graph.weight[std::size_t(tree.order[j])];
        if (firstDescendant[j] == int(j))
            count[j] += ownWeight;
        if (tree.parent[j] >= 0)
            count[std::size_t(tree.parent[j])] -= ownWeight;
        for (int l = laterStart[j]; l < laterStart[j + 1]; ++l)
        {
            const std::size_t i = std::size_t(later[std::size_t(l)]);
            if (firstDescendant[j] <= lastLeaf[i])
                continue; // not a leaf of row i's subtree: it lies above the last one
            const int weight = graph.weight[std::size_t(tree.order[i])];
            count[j] += weight;
            if (lastLeaf[i] >= 0)
            {
                int meet = lastLeaf[i];
                while (root[std::size_t(meet)] != meet)
                    meet = root[std::size_t(meet)];
                for (int at = lastLeaf[i]; at != meet;)
                {
                    const int up = root[std::size_t(at)];
                    root[std::size_t(at)] = meet;
                    at = up;
                }
                count[std::size_t(meet)] -= weight;
            }
            lastLeaf[i] = int(j);
        }
        if (tree.parent[j] >= 0)
            root[j] = tree.parent[j];
    }
    for (std::size_t j = 0; j < n; ++j)
        if (tree.parent[j] >= 0)
            count[std::size_t(tree.parent[j])] += count[j];
}

} // namespace

std::vector<int> PostOrder(const std::vector<int>& parent)
{
    const std::size_t n = parent.size();
    std::vector<int> child(n, -1), sibling(n, -1), order, stack;
    int firstRoot = -1;
    for (std::size_t j = n; j-- > 0;)
    {
        int& head = parent[j] < 0 ? firstRoot : child[std::size_t(parent[j])];
        sibling[j] = head;
        head = int(j);
    }
    order.reserve(n);
    for (int tree = firstRoot; tree >= 0; tree = sibling[std::size_t(tree)])
    {
        stack.push_back(tree);
        while (!stack.empty())
        {
            int& down = child[std::size_t(stack.back())];
            if (down >= 0)
            {
                const int at = down;
                down = sibling[std::size_t(at)];
                stack.push_back(at);
                continue;
            }
            order.push_back(stack.back());
            stack.pop_back();
        }
    }
    return order;
}

EliminationTree BuildEliminationTree(const AdjacencyGraph& graph, const std::vector<int>& order)
{
    EliminationTree tree;
    tree.order = order;
    FillEarlier(graph, tree);
    FindParents(tree);
    const std::vector<int> post = PostOrder(tree.parent);
    const std::size_t n = post.size();
    std::vector<int> place(n), parent(n);
    for (std::size_t k = 0; k < n; ++k)
        place[std::size_t(post[k])] = int(k);
    for (std::size_t k = 0; k < n; ++k)
    {
        const int up = tree.parent[std::size_t(post[k])];
        parent[k] = up < 0 ? -1 : place[std::size_t(up)];
        tree.order[k] = order[std::size_t(post[k])];
    }
    tree.parent.swap(parent);
    FillEarlier(graph, tree);
    CountColumns(graph, tree);
    return tree;
}

} // namespace numerics
