#include "numerics/order/Symbolic.h"

#include "numerics/order/EliminationTree.h"

#include <algorithm>
#include <numeric>

namespace numerics
{
namespace
{

/// Entries of @p pivots columns of a lower triangle of @p size rows.
double Trapezoid(double pivots, double size) { return pivots * size - pivots * (pivots - 1) / 2; }

/// Supernodes under construction, identified by their last step.
struct Draft
{
    std::vector<int> pivots;     ///< equations; 0 when merged into another
    std::vector<int> parent;     ///< last step of the parent, -1 for none
    std::vector<int> tail, next; ///< list of steps from the first to the last
    std::vector<int> head;
    std::vector<double> zeros; ///< entries stored that are 0 in the factor
};

/// Is a merged supernode worth its zeros? Small ones are: they save the cost of a front.
bool IsWorthMerging(double pivots, double zeros, double entries)
{
    constexpr double kLimits[][2] = {{8, 0.9}, {16, 0.5}, {32, 0.25}, {64, 0.12}, {1e300, 0.04}};
    for (const auto& [width, share] : kLimits)
        if (pivots <= width)
            return zeros <= share * entries;
    return false;
}

/// Merges children into parents from the leaves on: first those that add no zero, then those whose
/// zeros cost less than a front of their own.
Draft MergeSupernodes(const AdjacencyGraph& graph, const EliminationTree& tree)
{
    const std::size_t n = tree.order.size();
    Draft draft;
    draft.pivots.resize(n);
    draft.parent.assign(n, -1);
    draft.next.assign(n, -1);
    draft.tail.resize(n);
    draft.head.resize(n);
    draft.zeros.assign(n, 0);
    std::vector<int> firstChild(n, -1), sibling(n, -1);
    for (std::size_t s = 0; s < n; ++s)
    {
        draft.head[s] = draft.tail[s] = int(s);
        draft.pivots[s] = graph.weight[std::size_t(tree.order[s])];
        const auto merge = [&](int child, double zeros) {
            const std::size_t c = std::size_t(child);
            draft.next[std::size_t(draft.tail[c])] = draft.head[s];
            draft.head[s] = draft.head[c];
            draft.pivots[s] += draft.pivots[c];
            draft.pivots[c] = 0;
            draft.zeros[s] = zeros;
        };
        int kept = -1;
        const auto keep = [&](int child) {
            sibling[std::size_t(child)] = kept;
            kept = child;
        };
        const double below = tree.count[s] - draft.pivots[s];
        for (int child = firstChild[s], after; child >= 0; child = after)
        {
            after = sibling[std::size_t(child)];
            const std::size_t c = std::size_t(child);
            const double own = draft.pivots[s], its = draft.pivots[c];
            const double size = its + tree.count[c] - graph.weight[std::size_t(tree.order[c])];
            const double entries = Trapezoid(own + its, own + its + below);
            const double zeros = entries - Trapezoid(own, own + below) - Trapezoid(its, size) +
                                 draft.zeros[s] + draft.zeros[c];
            if (!IsWorthMerging(own + its, zeros, entries))
                keep(child);
            else
            {
                merge(child, zeros);
                for (int grandchild = firstChild[c], following; grandchild >= 0;
                     grandchild = following)
                {
                    following = sibling[std::size_t(grandchild)];
                    keep(grandchild);
                }
            }
        }
        firstChild[s] = kept;
        if (tree.parent[s] >= 0)
        {
            const std::size_t up = std::size_t(tree.parent[s]);
            sibling[s] = firstChild[up];
            firstChild[up] = int(s);
        }
    }
    for (std::size_t s = 0; s < n; ++s)
        for (int child = firstChild[s]; child >= 0 && draft.pivots[s] > 0;
             child = sibling[std::size_t(child)])
            draft.parent[std::size_t(child)] = int(s);
    return draft;
}

/// Children in the order that keeps the stack of contributions low: the one whose subtree needs
/// most beyond what it leaves goes first. @returns the supernodes, children before parents
std::vector<int> StackOrder(const std::vector<Supernode>& nodes, std::size_t& stackSize)
{
    const std::size_t n = nodes.size();
    std::vector<int> parent(n);
    for (std::size_t s = 0; s < n; ++s)
        parent[s] = nodes[s].parent;
    std::vector<int> childStart(n + 1, 0), children(n);
    for (const int up : parent)
        if (up >= 0)
            ++childStart[std::size_t(up) + 1];
    for (std::size_t s = 0; s < n; ++s)
        childStart[s + 1] += childStart[s];
    std::vector<int> next(childStart.begin(), childStart.end() - 1);
    for (std::size_t s = 0; s < n; ++s)
        if (parent[s] >= 0)
            children[std::size_t(next[std::size_t(parent[s])]++)] = int(s);

    std::vector<std::size_t> peak(n);
    std::vector<int> rank(n, 0); // among siblings
    stackSize = 0;
    for (std::size_t s = 0; s < n; ++s) // parents have higher numbers
    {
        const auto first = children.begin() + childStart[s],
                   last = children.begin() + childStart[s + 1];
        std::stable_sort(first, last, [&](int a, int b) {
            return peak[std::size_t(a)] - nodes[std::size_t(a)].ContributionSize() >
                   peak[std::size_t(b)] - nodes[std::size_t(b)].ContributionSize();
        });
        std::size_t waiting = 0;
        for (auto child = first; child != last; ++child)
        {
            peak[s] = std::max(peak[s], waiting + peak[std::size_t(*child)]);
            waiting += nodes[std::size_t(*child)].ContributionSize();
        }
        peak[s] = std::max(peak[s], waiting + nodes[s].ContributionSize());
        if (parent[s] < 0)
            stackSize = std::max(stackSize, peak[s]);
    }
    // Depth first with the children as sorted.
    std::vector<int> order, stack;
    order.reserve(n);
    std::vector<int> at(childStart.begin(), childStart.end() - 1);
    for (std::size_t root = 0; root < n; ++root)
    {
        if (parent[root] >= 0)
            continue;
        stack.push_back(int(root));
        while (!stack.empty())
        {
            const std::size_t s = std::size_t(stack.back());
            if (at[s] < childStart[s + 1])
            {
                stack.push_back(children[std::size_t(at[s]++)]);
                continue;
            }
            order.push_back(int(s));
            stack.pop_back();
        }
    }
    return order;
}

/// The supernodes of a draft with their sizes and parents, in the order of the stack.
std::vector<Supernode> MakeSupernodes(const AdjacencyGraph& graph, const EliminationTree& tree,
                                      const Draft& draft, std::vector<int>& lastStep,
                                      std::size_t& stackSize)
{
    std::vector<Supernode> nodes;
    std::vector<int> number(draft.pivots.size(), -1), steps;
    for (std::size_t s = 0; s < draft.pivots.size(); ++s)
        if (draft.pivots[s] > 0)
        {
            number[s] = int(nodes.size());
            Supernode node;
            node.pivots = draft.pivots[s];
            node.rows = tree.count[s] - graph.weight[std::size_t(tree.order[s])];
            nodes.push_back(node);
            steps.push_back(int(s));
        }
    for (std::size_t k = 0; k < nodes.size(); ++k)
        if (const int up = draft.parent[std::size_t(steps[k])]; up >= 0)
            nodes[k].parent = number[std::size_t(up)];
    const std::vector<int> order = StackOrder(nodes, stackSize);
    std::vector<int> place(nodes.size());
    for (std::size_t k = 0; k < order.size(); ++k)
        place[std::size_t(order[k])] = int(k);
    std::vector<Supernode> sorted(nodes.size());
    lastStep.resize(nodes.size());
    for (std::size_t k = 0; k < order.size(); ++k)
    {
        sorted[k] = nodes[std::size_t(order[k])];
        if (sorted[k].parent >= 0)
            sorted[k].parent = place[std::size_t(sorted[k].parent)];
        lastStep[k] = steps[std::size_t(order[k])];
    }
    return sorted;
}

/// Rows below each supernode: every row is added to the supernodes on the path from the entries of
/// the matrix to its own, ascending because the rows come in order.
void FillRows(const CompressedGraph& compressed, const EliminationTree& tree,
              const std::vector<int>& stepOrder, const std::vector<int>& nodeOfStep,
              Symbolic& symbolic)
{
    std::vector<Supernode>& nodes = symbolic.supernodes;
    std::size_t total = 0;
    for (Supernode& node : nodes)
    {
        node.rowStart = total;
        total += std::size_t(node.rows);
    }
    symbolic.rows.resize(total);
    std::vector<std::size_t> end(nodes.size());
    for (std::size_t s = 0; s < nodes.size(); ++s)
        end[s] = nodes[s].rowStart;
    std::vector<int> seen(nodes.size(), -1);
    const AdjacencyGraph& graph = compressed.graph;
    int position = 0;
    for (std::size_t k = 0; k < stepOrder.size(); ++k)
    {
        const int step = stepOrder[k], vertex = tree.order[std::size_t(step)];
        const int weight = graph.weight[std::size_t(vertex)];
        const int own = nodeOfStep[std::size_t(step)];
        for (int l = tree.start[std::size_t(step)]; l < tree.start[std::size_t(step) + 1]; ++l)
        {
            const int other = tree.earlier[std::size_t(l)];
            for (int s = nodeOfStep[std::size_t(other)]; s != own && seen[std::size_t(s)] != int(k);
                 s = nodes[std::size_t(s)].parent)
            {
                seen[std::size_t(s)] = int(k);
                for (int w = 0; w < weight; ++w)
                    symbolic.rows[end[std::size_t(s)]++] = position + w;
            }
        }
        position += weight;
    }
}

} // namespace

std::size_t Supernode::ContributionSize() const
{
    const std::size_t rest = std::size_t(rows % kPanel), last = (rest + 7) / 8 * 8;
    const std::size_t before = std::size_t(rows / kPanel) * kPanel;
    return before * (before + kPanel) / 2 + last * (before + last) + before + last;
}

std::size_t Supernode::FactorSize() const
{
    std::size_t size = 0;
    for (int row = 0; row < pivots; row += kPanel)
    {
        const std::size_t height = std::size_t(PanelHeight(pivots, row));
        size += height * (std::size_t(row) + height);
    }
    const int whole = rows / kPanel * kPanel;
    const int padded = whole + (whole < rows ? PanelHeight(rows, whole) : 0);
    return size + std::size_t(padded) * std::size_t(pivots);
}

Symbolic Analyse(const CompressedGraph& compressed, const std::vector<int>& order)
{
    const AdjacencyGraph& graph = compressed.graph;
    const EliminationTree tree = BuildEliminationTree(graph, order);
    const Draft draft = MergeSupernodes(graph, tree);
    Symbolic symbolic;
    std::vector<int> lastStep;
    symbolic.supernodes = MakeSupernodes(graph, tree, draft, lastStep, symbolic.stackSize);

    const std::size_t vertices = order.size();
    std::vector<int> stepOrder, nodeOfStep(vertices), vertexStart(vertices);
    stepOrder.reserve(vertices);
    int position = 0;
    for (std::size_t s = 0; s < symbolic.supernodes.size(); ++s)
    {
        Supernode& node = symbolic.supernodes[s];
        node.first = position;
        for (int step = draft.head[std::size_t(lastStep[s])]; step >= 0;
             step = step == lastStep[s] ? -1 : draft.next[std::size_t(step)])
        {
            stepOrder.push_back(step);
            nodeOfStep[std::size_t(step)] = int(s);
            const std::size_t vertex = std::size_t(tree.order[std::size_t(step)]);
            vertexStart[vertex] = position;
            position += graph.weight[vertex];
        }
        node.factorStart = symbolic.factorSize;
        symbolic.factorSize += node.FactorSize();
        symbolic.widestFront = std::max(symbolic.widestFront, node.pivots + node.rows);
        for (int left = node.pivots + node.rows; left > node.rows; --left)
            symbolic.flops += double(left) * left;
    }
    FillRows(compressed, tree, stepOrder, nodeOfStep, symbolic);

    const std::size_t n = compressed.vertexOf.size();
    symbolic.order.resize(n);
    symbolic.position.resize(n);
    for (std::size_t i = 0; i < n; ++i)
    {
        const int at = vertexStart[std::size_t(compressed.vertexOf[i])]++;
        symbolic.position[i] = at;
        symbolic.order[std::size_t(at)] = int(i);
    }
    return symbolic;
}

FactorCost PredictCost(const AdjacencyGraph& graph, const std::vector<int>& order)
{
    const EliminationTree tree = BuildEliminationTree(graph, order);
    FactorCost cost;
    for (std::size_t k = 0; k < tree.order.size(); ++k)
    {
        const double count = tree.count[k], weight = graph.weight[std::size_t(tree.order[k])];
        cost.flops += weight * count * count - weight * (weight - 1) * (count - weight / 3);
        cost.entries += weight * count;
    }
    return cost;
}

} // namespace numerics
