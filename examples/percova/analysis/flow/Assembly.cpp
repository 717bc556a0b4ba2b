#include "analysis/flow/Assembly.h"

#include "KVI.h"

#include <algorithm>

namespace percova
{
namespace
{
using sys::thread::task::ParallelForPieces;

constexpr std::size_t kGrain = 64;    ///< elements a thread takes at a time
constexpr std::size_t kBlock = 16384; ///< elements whose matrices are held at a time
} // namespace

Assembly::Assembly(const Model& model, const std::vector<Soil>& soils)
    : model_(model), soils_(soils), kr_(model, soils), elementInflow_(model.mesh.nodes.size()),
      matrixStart_(model.mesh.Elements() + 1)
{
    const Mesh& mesh = model.mesh;
    for (std::size_t e = 0; e < mesh.Elements(); ++e)
        matrixStart_[e + 1] =
            matrixStart_[e] + std::size_t(NodeCount(mesh.type[e]) * NodeCount(mesh.type[e]));
    std::size_t most = 0;
    for (std::size_t first = 0; first < mesh.Elements(); first += kBlock)
        most = std::max(most, matrixStart_[std::min(first + kBlock, mesh.Elements())] -
                                  matrixStart_[first]);
    matrices_.resize(most);
    saturated_.resize(matrixStart_.back());
    const std::vector<double> none(mesh.Nodes());
    ParallelForPieces(0, mesh.Elements(), kGrain, [&](std::size_t begin, std::size_t end) {
        ElementState element;
        for (std::size_t e = begin; e < end; ++e)
        {
            element.Load(mesh, e, none.data());
            SaturatedMatrix(element, soils[model.material[e]], &saturated_[matrixStart_[e]]);
        }
    });
}

template <class What>
double Assembly::Greatest(What what) const
{
    const std::vector<double> none(model_.mesh.Nodes());
    double greatest = 0;
    ElementState element;
    for (std::size_t e = 0; e < model_.mesh.Elements(); ++e)
    {
        const Soil& soil = soils_[model_.material[e]];
        if (soil.kr.IsSaturated())
            continue;
        element.Load(model_.mesh, e, none.data());
        greatest = std::max(greatest, what(SharpnessOf(element, soil), soil));
    }
    return greatest;
}

double Assembly::Sharpness() const
{
    return Greatest([](double sharpness, const Soil&) { return sharpness; });
}

double Assembly::DrawnOut(double sharpness) const
{
    return Greatest(
        [=](double own, const Soil& soil) { return soil.kr.Width() * (own / sharpness - 1); });
}

/// What a loop over the elements computes besides their flows.
struct Assembly::ElementTask
{
    Tangent tangent;
    double damping;
    StorageTangent storage;
};

void Assembly::Elements(const std::vector<double>& head, const ElementTask& task, std::size_t first,
                        std::size_t last)
{
    ParallelForPieces(first, last, kGrain, [&](std::size_t begin, std::size_t end) {
        for (std::size_t e = begin; e < end; ++e)
            Element(e, head, task,
                    task.tangent == Tangent::None
                        ? nullptr
                        : matrices_.data() + (matrixStart_[e] - matrixStart_[first]));
    });
}

void Assembly::Element(std::size_t e, const std::vector<double>& head, const ElementTask& task,
                       double* matrix)
{
    const Mesh& mesh = model_.mesh;
    const double* const saturated = &saturated_[matrixStart_[e]];
    double* const inflow = &elementInflow_[mesh.start[e]];
    if (mesh.type[e] == ElementType::T3)
    {
        const int* const nodes = mesh.ElementNodes(e);
        const double heads[] = {head[nodes[0]], head[nodes[1]], head[nodes[2]]};
        ComputeTriangle(saturated, kr_.OfTriangle(e), heads, task.tangent, task.damping, inflow,
                        matrix);
    }
    else
    {
        ElementState element;
        ElementResult result;
        element.Load(mesh, e, head.data());
        Compute(element, soils_[model_.material[e]], saturated, kr_.Of(e), task.tangent,
                task.damping, result);
        std::copy_n(result.inflow, NodeCount(element.type), inflow);
        if (task.tangent != Tangent::None)
            std::copy_n(result.matrix, matrixStart_[e + 1] - matrixStart_[e], matrix);
    }
    if (task.tangent != Tangent::None && task.storage.term != nullptr)
        AddStorage(e, head, task.storage, matrix);
}

void Assembly::AddStorage(std::size_t e, const std::vector<double>& head,
                          const StorageTangent& storage, double* matrix) const
{
    const Mesh& mesh = model_.mesh;
    const int n = NodeCount(mesh.type[e]);
    for (int k = 0; k < n; ++k)
    {
        const int place = mesh.start[e] + k, node = mesh.nodes[place];
        if (mesh.nodePlaces[mesh.placeStart[node]] == place) // its first element adds all of it
            matrix[k * n + k] += (*storage.lumped)[node];
    }
    if (storage.term->storage->IsConsistent(e))
        storage.term->storage->AddCapacity(e, head, storage.term->rate, matrix);
}

void Assembly::Sum(std::vector<double>& inflow) const
{
    const Mesh& mesh = model_.mesh;
    inflow.resize(mesh.Nodes());
    ParallelForPieces(0, inflow.size(), 1024, [&](std::size_t begin, std::size_t end) {
        for (std::size_t node = begin; node < end; ++node)
        {
            double sum = 0;
            for (std::size_t k = mesh.placeStart[node]; k < mesh.placeStart[node + 1]; ++k)
                sum += elementInflow_[mesh.nodePlaces[k]];
            inflow[node] = sum;
        }
    });
}

void Assembly::Inflow(const std::vector<double>& head, const Easing& easing,
                      std::vector<double>& inflow)
{
    if (kr_.Update(head, easing))
        Elements(head, {Tangent::None, 0, {nullptr, nullptr}}, 0, model_.mesh.Elements());
    Sum(inflow);
}

void Assembly::Matrix(const std::vector<double>& head, const Easing& easing, Tangent tangent,
                      double damping, const StorageTangent& storage, LinearSystem& system)
{
    system.Clear();
    (void)kr_.Update(head, easing); // the flows are computed with the matrices anyway
    const std::size_t count = model_.mesh.Elements();
    for (std::size_t first = 0; first < count; first += kBlock)
    {
        const std::size_t last = std::min(first + kBlock, count);
        Elements(head, {tangent, damping, storage}, first, last);
        system.Add(first, last - first, matrices_.data());
    }
}

} // namespace percova
