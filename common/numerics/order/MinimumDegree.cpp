#include "numerics/order/MinimumDegree.h"

#include "numerics/system/StopRequest.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>

namespace numerics
{
namespace
{

/// The quotient graph during the elimination. A vertex is a variable until it is eliminated, then
/// an element: the clique of its remaining neighbour variables. The list of a variable holds its
/// elements first, then the variables next to it that share no element with it.
class QuotientGraph
{
public:
    explicit QuotientGraph(const AdjacencyGraph& graph);
    std::vector<int> Eliminate();

private:
    int NextPivot();
    void MakeElement(int pivot);
    void Gather(int from, int count, int pivot);
    void MeasureOverlaps();
    void UpdateVariables(int pivot);
    int UpdateList(int variable, int pivot, unsigned& hash);
    void MergeEqual();
    bool IsEqual(int a, int b) const;
    void Finish(int pivot);
    void Insert(int variable, int degree);
    void Remove(int variable);
    void Collect();
    std::vector<int> Order() const;

    int n_ = 0, left_ = 0, lowest_ = 0;
    std::vector<int> space_;        ///< all lists
    std::vector<int> begin_, size_; ///< of each list
    std::vector<int> elements_;     ///< elements in the list of a variable; -1: an element
    std::vector<int> weight_;       ///< 0 when absorbed, negative while in the new element
    std::vector<int> degree_;       ///< of an element: the weight of its variables
    std::vector<int> absorber_;     ///< -1 for none
    std::vector<int> head_, next_, previous_; ///< lists of variables by degree
    std::vector<int> overlap_;                ///< weight of an element outside the new one + stamp_
    std::vector<int> bucket_, bucketNext_;    ///< variables of the new element by hash
    std::vector<unsigned> hash_;
    std::vector<int> mark_;
    std::vector<int> pivots_;  ///< in order of elimination
    std::vector<int> members_; ///< the new element
    std::vector<int> dense_;
    int stamp_ = 1, markStamp_ = 0, pivotWeight_ = 0;
    int largest_ = 0; ///< degree of an element so far
};

QuotientGraph::QuotientGraph(const AdjacencyGraph& graph)
    : n_(graph.Size()), begin_(graph.start.begin(), graph.start.end() - 1), weight_(graph.weight)
{
    const std::size_t n = std::size_t(n_);
    size_.resize(n);
    elements_.assign(n, 0);
    degree_.assign(n, 0);
    absorber_.assign(n, -1);
    next_.assign(n, -1);
    previous_.assign(n, -1);
    overlap_.assign(n, 0);
    bucket_.assign(n, -1);
    bucketNext_.assign(n, -1);
    hash_.assign(n, 0);
    mark_.assign(n, 0);
    left_ = std::accumulate(weight_.begin(), weight_.end(), 0);
    head_.assign(std::size_t(left_) + 1, -1);
    space_.reserve(graph.neighbours.size() + graph.neighbours.size() / 4 + 2 * n);
    space_ = graph.neighbours;
    const double most = std::max(16.0, 10 * std::sqrt(double(n_)));
    for (int i = 0; i < n_; ++i)
    {
        const std::size_t at = std::size_t(i);
        size_[at] = graph.start[at + 1] - graph.start[at];
        if (size_[at] > most)
            dense_.push_back(i);
    }
    for (const int i : dense_)
    {
        left_ -= weight_[std::size_t(i)];
        weight_[std::size_t(i)] = 0;
    }
    for (int i = 0; i < n_; ++i)
    {
        const std::size_t at = std::size_t(i);
        if (weight_[at] == 0)
            continue;
        int kept = begin_[at];
        for (int k = begin_[at]; k < begin_[at] + size_[at]; ++k)
        {
            const int j = space_[std::size_t(k)];
            degree_[at] += weight_[std::size_t(j)];
            if (weight_[std::size_t(j)] != 0)
                space_[std::size_t(kept++)] = j;
        }
        size_[at] = kept - begin_[at];
        Insert(i, degree_[at]);
    }
}

void QuotientGraph::Insert(int variable, int degree)
{
    const std::size_t v = std::size_t(variable), d = std::size_t(degree);
    next_[v] = head_[d];
    previous_[v] = -1;
    if (head_[d] >= 0)
        previous_[std::size_t(head_[d])] = variable;
    head_[d] = variable;
    degree_[v] = degree;
    lowest_ = std::min(lowest_, degree);
}

void QuotientGraph::Remove(int variable)
{
    const std::size_t v = std::size_t(variable);
    if (previous_[v] >= 0)
        next_[std::size_t(previous_[v])] = next_[v];
    else
        head_[std::size_t(degree_[v])] = next_[v];
    if (next_[v] >= 0)
        previous_[std::size_t(next_[v])] = previous_[v];
}

int QuotientGraph::NextPivot()
{
    while (head_[std::size_t(lowest_)] < 0)
        ++lowest_;
    const int pivot = head_[std::size_t(lowest_)];
    Remove(pivot);
    return pivot;
}

/// Copies the lists that are in use to the front of a new space.
void QuotientGraph::Collect()
{
    std::vector<int> space;
    space.reserve(space_.capacity());
    for (std::size_t i = 0; i < std::size_t(n_); ++i)
    {
        const bool isUsed = elements_[i] < 0 ? absorber_[i] < 0 : weight_[i] != 0;
        if (!isUsed)
            continue;
        const auto from = space_.begin() + begin_[i];
        begin_[i] = int(space.size());
        space.insert(space.end(), from, from + size_[i]);
    }
    space_.swap(space);
}

/// Adds the variables of a part of the space to the new element.
void QuotientGraph::Gather(int from, int count, int pivot)
{
    for (int k = from; k < from + count; ++k)
    {
        const int i = space_[std::size_t(k)];
        int& weight = weight_[std::size_t(i)];
        if (weight <= 0)
            continue;
        degree_[std::size_t(pivot)] += weight;
        weight = -weight;
        Remove(i);
        members_.push_back(i);
    }
}

void QuotientGraph::MakeElement(int pivot)
{
    const std::size_t p = std::size_t(pivot);
    members_.clear();
    pivots_.push_back(pivot);
    pivotWeight_ = weight_[p];
    weight_[p] = -pivotWeight_;
    degree_[p] = 0;
    const int first = begin_[p], elements = elements_[p];
    for (int k = first; k < first + elements; ++k)
    {
        const std::size_t e = std::size_t(space_[std::size_t(k)]);
        if (absorber_[e] >= 0)
            continue;
        Gather(begin_[e], size_[e], pivot);
        absorber_[e] = pivot;
    }
    Gather(first + elements, size_[p] - elements, pivot);
    elements_[p] = -1;
    size_[p] = 0;
    left_ -= pivotWeight_;
    largest_ = std::max(largest_, degree_[p]);
}

/// For each element next to the new one: the weight of its variables outside, as overlap - stamp.
void QuotientGraph::MeasureOverlaps()
{
    for (const int i : members_)
    {
        const std::size_t v = std::size_t(i);
        const int weight = -weight_[v];
        for (int k = begin_[v]; k < begin_[v] + elements_[v]; ++k)
        {
            const std::size_t e = std::size_t(space_[std::size_t(k)]);
            if (overlap_[e] >= stamp_)
                overlap_[e] -= weight;
            else if (absorber_[e] < 0)
                overlap_[e] = degree_[e] + stamp_ - weight;
        }
    }
}

/// Removes the entries of a variable's list that the new element makes redundant, and puts the
/// element first.
/// @returns the weight of its neighbours outside the new element, an upper bound
int QuotientGraph::UpdateList(int variable, int pivot, unsigned& hash)
{
    const std::size_t v = std::size_t(variable);
    const int first = begin_[v], endElements = first + elements_[v], end = first + size_[v];
    int degree = 0, kept = first;
    for (int k = first; k < endElements; ++k)
    {
        const int e = space_[std::size_t(k)];
        if (absorber_[std::size_t(e)] >= 0)
            continue;
        const int outside = overlap_[std::size_t(e)] - stamp_;
        if (outside <= 0)
        {
            absorber_[std::size_t(e)] = pivot; // all of it lies in the new element
            continue;
        }
        degree += outside;
        hash += unsigned(e);
        space_[std::size_t(kept++)] = e;
    }
    const int keptElements = kept - first;
    for (int k = endElements; k < end; ++k)
    {
        const int j = space_[std::size_t(k)];
        if (weight_[std::size_t(j)] <= 0)
            continue; // eliminated, or in the new element
        degree += weight_[std::size_t(j)];
        hash += unsigned(j);
        space_[std::size_t(kept++)] = j;
    }
    // There is space: the list held the pivot, or an element that the pivot has absorbed.
    if (kept > first + keptElements)
        space_[std::size_t(kept)] = space_[std::size_t(first + keptElements)];
    if (keptElements > 0)
        space_[std::size_t(first + keptElements)] = space_[std::size_t(first)];
    space_[std::size_t(first)] = pivot;
    elements_[v] = keptElements + 1;
    size_[v] = kept + 1 - first;
    return degree;
}

void QuotientGraph::UpdateVariables(int pivot)
{
    for (const int i : members_)
    {
        const std::size_t v = std::size_t(i);
        unsigned hash = 0;
        const int degree = UpdateList(i, pivot, hash);
        if (degree == 0 && size_[v] == 1)
        {
            // Only the new element is left: eliminated together with the pivot.
            absorber_[v] = pivot;
            pivotWeight_ -= weight_[v];
            left_ += weight_[v];
            degree_[std::size_t(pivot)] += weight_[v];
            weight_[v] = 0;
            continue;
        }
        degree_[v] = std::min(degree_[v], degree);
        hash_[v] = hash % unsigned(n_);
        bucketNext_[v] = bucket_[hash_[v]];
        bucket_[hash_[v]] = i;
    }
}

/// Compares with the list that is marked, of variable @p a.
bool QuotientGraph::IsEqual(int a, int b) const
{
    const std::size_t i = std::size_t(a), j = std::size_t(b);
    if (size_[i] != size_[j] || elements_[i] != elements_[j])
        return false;
    for (int k = begin_[j] + 1; k < begin_[j] + size_[j]; ++k)
        if (mark_[std::size_t(space_[std::size_t(k)])] != markStamp_)
            return false;
    return true;
}

/// Merges the variables of the new element that have the same lists.
void QuotientGraph::MergeEqual()
{
    for (const int member : members_)
    {
        if (weight_[std::size_t(member)] == 0)
            continue;
        int i = bucket_[hash_[std::size_t(member)]];
        bucket_[hash_[std::size_t(member)]] = -1;
        for (; i >= 0; i = bucketNext_[std::size_t(i)])
        {
            if (bucketNext_[std::size_t(i)] < 0)
                break;
            ++markStamp_;
            const std::size_t v = std::size_t(i);
            for (int k = begin_[v] + 1; k < begin_[v] + size_[v]; ++k)
                mark_[std::size_t(space_[std::size_t(k)])] = markStamp_;
            int before = i;
            for (int j = bucketNext_[v]; j >= 0; j = bucketNext_[std::size_t(j)])
            {
                if (!IsEqual(i, j))
                {
                    before = j;
                    continue;
                }
                absorber_[std::size_t(j)] = i;
                weight_[v] += weight_[std::size_t(j)];
                weight_[std::size_t(j)] = 0;
                bucketNext_[std::size_t(before)] = bucketNext_[std::size_t(j)];
            }
        }
    }
}

/// Stores the new element and puts its variables back into the lists by degree.
void QuotientGraph::Finish(int pivot)
{
    const std::size_t p = std::size_t(pivot);
    if (space_.size() + members_.size() > space_.capacity())
        Collect();
    begin_[p] = int(space_.size());
    for (const int i : members_)
    {
        const std::size_t v = std::size_t(i);
        if (weight_[v] == 0)
            continue;
        weight_[v] = -weight_[v];
        const int outside = degree_[v] + degree_[p] - weight_[v];
        Insert(i, std::min(outside, left_ - weight_[v]));
        space_.push_back(i);
    }
    size_[p] = int(space_.size()) - begin_[p];
    weight_[p] = 0;
    if (size_[p] == 0)
        absorber_[p] = pivot; // nothing refers to it any more
}

std::vector<int> QuotientGraph::Eliminate()
{
    while (left_ > 0)
    {
        StopRequest::ThrowIfCurrent();
        const int pivot = NextPivot();
        MakeElement(pivot);
        if (stamp_ > 0x3fffffff)
        {
            std::fill(overlap_.begin(), overlap_.end(), 0);
            stamp_ = 1;
        }
        MeasureOverlaps();
        UpdateVariables(pivot);
        stamp_ += largest_ + 1;
        MergeEqual();
        Finish(pivot);
    }
    return Order();
}

/// The pivots, each followed by the variables eliminated with it; then the dense rows.
std::vector<int> QuotientGraph::Order() const
{
    const std::size_t n = std::size_t(n_);
    std::vector<int> place(n, -1), root(n, -1);
    for (std::size_t k = 0; k < pivots_.size(); ++k)
        place[std::size_t(pivots_[k])] = int(k);
    std::vector<int> start(pivots_.size() + 2, 0), path;
    for (const int i : dense_)
        root[std::size_t(i)] = int(pivots_.size());
    for (int i = 0; i < n_; ++i)
    {
        int at = i;
        path.clear();
        while (root[std::size_t(at)] < 0 && place[std::size_t(at)] < 0)
        {
            path.push_back(at);
            at = absorber_[std::size_t(at)];
        }
        const int found =
            place[std::size_t(at)] >= 0 ? place[std::size_t(at)] : root[std::size_t(at)];
        root[std::size_t(at)] = found;
        for (const int v : path)
            root[std::size_t(v)] = found;
    }
    for (const int k : root)
        ++start[std::size_t(k) + 1];
    for (std::size_t k = 1; k < start.size(); ++k)
        start[k] += start[k - 1];
    std::vector<int> order(n);
    for (int i = 0; i < n_; ++i)
        order[std::size_t(start[std::size_t(root[std::size_t(i)])]++)] = i;
    return order;
}

} // namespace

std::vector<int> MinimumDegreeOrder(const AdjacencyGraph& graph)
{
    return QuotientGraph(graph).Eliminate();
}

} // namespace numerics
