#include "analysis/flow/LinearSystem.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace percova
{
namespace
{
/// The nodes around every node, as compressed rows; each node is among its own.
struct Neighbours
{
    std::vector<std::size_t> start;
    std::vector<int> nodes;

    explicit Neighbours(const Mesh& mesh)
    {
        start.push_back(0);
        for (std::size_t n = 0; n < mesh.Nodes(); ++n)
        {
            for (std::size_t k = mesh.placeStart[n]; k < mesh.placeStart[n + 1]; ++k)
            {
                const int e = mesh.placeElement[mesh.nodePlaces[k]];
                nodes.insert(nodes.end(), mesh.ElementNodes(e), mesh.ElementNodes(e + 1));
            }
            std::sort(nodes.begin() + std::ptrdiff_t(start.back()), nodes.end());
            nodes.erase(std::unique(nodes.begin() + std::ptrdiff_t(start.back()), nodes.end()),
                        nodes.end());
            start.push_back(nodes.size());
        }
    }
    std::size_t Degree(int node) const { return start[node + 1] - start[node]; }
};

/// Nodes reached from @p root, level by level, each node's neighbours in the order of their degree.
/// @param mark  nodes already marked are walls; reached ones are marked
/// @returns where the last level begins in the list
std::size_t Levels(const Neighbours& mesh, int root, std::vector<char>& mark,
                   std::vector<int>& order)
{
    order.assign(1, root);
    mark[root] = 1;
    std::size_t level = 0, levelEnd = 1;
    for (std::size_t at = 0; at < order.size(); ++at)
    {
        if (at == levelEnd)
        {
            level = levelEnd;
            levelEnd = order.size();
        }
        const std::size_t fresh = order.size();
        for (std::size_t k = mesh.start[order[at]]; k < mesh.start[order[at] + 1]; ++k)
            if (!mark[mesh.nodes[k]])
            {
                mark[mesh.nodes[k]] = 1;
                order.push_back(mesh.nodes[k]);
            }
        std::stable_sort(order.begin() + std::ptrdiff_t(fresh), order.end(),
                         [&](int a, int b) { return mesh.Degree(a) < mesh.Degree(b); });
    }
    return level;
}
} // namespace

std::vector<int> NarrowNumbering(const Mesh& mesh)
{
    const Neighbours neighbours(mesh);
    std::vector<char> mark(mesh.Nodes());
    std::vector<int> order, part;
    for (int seed = 0; seed < int(mesh.Nodes()); ++seed)
    {
        if (mark[seed])
            continue;
        int root = seed;
        for (int sweep = 0; sweep < 3; ++sweep) // towards a node at the end of the part
        {
            const std::size_t last = Levels(neighbours, root, mark, part);
            for (const int node : part)
                mark[node] = 0;
            root = *std::min_element(
                part.begin() + std::ptrdiff_t(last), part.end(),
                [&](int a, int b) { return neighbours.Degree(a) < neighbours.Degree(b); });
        }
        Levels(neighbours, root, mark, part);
        order.insert(order.end(), part.begin(), part.end());
    }
    std::vector<int> equation(mesh.Nodes());
    for (std::size_t k = 0; k < order.size(); ++k)
        equation[order[k]] = int(order.size() - 1 - k);
    return equation;
}

LinearSystem::LinearSystem(const Mesh& mesh, SolverKind kind, int threads)
    : kind_(kind == SolverKind::Automatic ? SolverKind::Pardiso : kind)
{
    if (kind_ == SolverKind::Direct) // the others find an order of their own
        equation_ = NarrowNumbering(mesh);
    else
    {
        equation_.resize(mesh.Nodes());
        std::iota(equation_.begin(), equation_.end(), 0);
    }
    tagMultiVectorInt lists;
    lists.values.reserve(mesh.nodes.size());
    for (std::size_t e = 0; e < mesh.Elements(); ++e)
    {
        for (int k = mesh.start[e]; k < mesh.start[e + 1]; ++k)
            lists.values.push_back(equation_[mesh.nodes[k]]);
        lists.ends.push_back(lists.values.size());
    }
    (void)system_.Initialize(&lists, int(mesh.Nodes())); // a refusal is reported by every solve
    (void)system_.SetThreads(threads);
    tagVectorInt rowStarts;
    (void)system_.GetMatrix(&rowStarts, nullptr, nullptr);
    nonzeros_ = rowStarts.values.empty() ? 0 : std::size_t(rowStarts.values.back());
    if (kind_ == SolverKind::Pardiso)
        (void)system_.SolveForUnknownVector_PARDISO_SetUp();
}

LinearSystem::~LinearSystem() { (void)system_.SolveForUnknownVector_PARDISO_Release(); }

void LinearSystem::Clear() { (void)system_.ResetToZero(); }

void LinearSystem::Add(std::size_t first, std::size_t count, const double* matrices)
{
    (void)system_.InsertElementsIntoSysCoefMtx(int(first), int(count), matrices);
}

void LinearSystem::Run(bool symmetric, double tolerance)
{
    constexpr int kMaxIterations = 2000;
    if (kind_ == SolverKind::Pardiso)
        (void)system_.SolveForUnknownVector_PARDISO();
    else if (kind_ == SolverKind::Direct && symmetric)
        (void)system_.SolveForUnknownVector_Direct_Sym();
    else if (kind_ == SolverKind::Direct)
        (void)system_.SolveForUnknownVector_Direct_NonSym();
    else if (symmetric)
        (void)system_.SolveForUnknownVector_Iterative_Sym(tolerance, kMaxIterations);
    else
        (void)system_.SolveForUnknownVector_Iterative_NonSym(tolerance, kMaxIterations);
}

bool LinearSystem::Solve(const std::vector<char>& held, const std::vector<double>& rightSide,
                         bool symmetric, double tolerance, std::vector<double>& x,
                         std::string& reason)
{
    tagVectorInt all, fixed;
    tagVectorDbl load, zero;
    for (std::size_t node = 0; node < held.size(); ++node)
        if (held[node])
            fixed.values.push_back(equation_[node]);
    zero.values.assign(fixed.values.size(), 0);
    (void)system_.FixUnknowns(&fixed, &zero);
    all.values = equation_;
    load.values = rightSide;
    rightSide_ = rightSide;
    (void)system_.AddToRHSVector(&all, &load);
    load.values.assign(rightSide.size(), 0);
    (void)system_.SetUnknownVector(&all, &load);
    Run(symmetric, tolerance);
    (void)system_.GetUnknownVector(&load);
    const math::SolveRecord& record = system_.LastSolve();
    solver_.assign(record.solver.begin(), record.solver.end());
    x.resize(held.size());
    for (std::size_t node = 0; node < held.size(); ++node)
    {
        x[node] = load.values[equation_[node]];
        if (!std::isfinite(x[node]))
        {
            reason.assign(record.reason.begin(), record.reason.end());
            return false;
        }
    }
    return true;
}

bool LinearSystem::SolveAgain(const std::vector<char>& held, const std::vector<double>& rightSide,
                              bool symmetric, double tolerance, std::vector<double>& x,
                              std::string& reason)
{
    std::vector<double> difference(rightSide.size());
    for (std::size_t n = 0; n < rightSide.size(); ++n)
        difference[n] = rightSide[n] - rightSide_[n];
    const bool solved = Solve(held, difference, symmetric, tolerance, x, reason);
    rightSide_ = rightSide;
    return solved;
}

} // namespace percova
