// The readers of the reference engine: whatever the bytes, they end, and what they take is sound.
#include "analysis/Binding.h"
#include "fuzz/FuzzInput.h"

#include <algorithm>

namespace fuzz
{
namespace
{

using namespace percova;

/// What is wrong with a mesh that was taken.
std::string WrongWith(const Mesh& mesh)
{
    const auto isNode = [&](int node) { return node >= 0 && std::size_t(node) < mesh.Nodes(); };
    const auto isIn = [](int index, std::size_t size) { return index < int(size); };
    if (mesh.Elements() == 0 || mesh.start.size() != mesh.Elements() + 1 ||
        std::size_t(mesh.start.back()) != mesh.nodes.size() ||
        !std::all_of(mesh.nodes.begin(), mesh.nodes.end(), isNode))
        return "an element has other nodes than the mesh";
    for (const int group : mesh.group)
        if (!isIn(group, mesh.surfaces.size()))
            return "an element is in no surface of the mesh";
    for (const Edge& edge : mesh.edges)
        if (!isIn(edge.group, mesh.curves.size()) || edge.element < 0 ||
            !isIn(edge.element, mesh.Elements()) || !isIn(edge.opposite, mesh.Elements()))
            return "a side is no side of the mesh";
    return {};
}

const char* const kSquare =
    "$MeshFormat\n2.2 0 8\n$EndMeshFormat\n$PhysicalNames\n2\n1 5 \"left\"\n"
    "2 7 \"soil\"\n$EndPhysicalNames\n$Nodes\n4\n1 0 0 0\n2 1 0 0\n3 1 1 0\n"
    "4 0 1 0\n$EndNodes\n$Elements\n2\n1 1 2 5 1 4 1\n2 3 2 7 1 1 2 3 4\n"
    "$EndElements\n";

} // namespace

std::string CheckMesh(const std::uint8_t* data, std::size_t size)
{
    Mesh mesh;
    Faults faults;
    const bool isRight = ReadMeshText({data, data + size}, "fuzz.msh", mesh, faults);
    if (isRight == faults.Any())
        return isRight ? "a wrong mesh is taken" : "a mesh is refused without a reason";
    return isRight ? WrongWith(mesh) : std::string();
}

std::string CheckProblem(const std::uint8_t* data, std::size_t size)
{
    Model model;
    Faults faults;
    const bool isRight = ReadProblemText({data, data + size}, model.problem, faults);
    if (isRight == faults.Any())
        return isRight ? "a wrong problem is taken" : "a problem is refused without a reason";
    if (!isRight || !ReadMeshText(kSquare, "square.msh", model.mesh, faults) ||
        !Bind(model, faults))
        return {};
    const bool isWhole = model.boundaryEdges.size() == model.problem.boundaries.size() &&
                         model.material.size() == model.mesh.Elements();
    for (const percova::Step& step : model.problem.steps)
        if (step.conditions.size() != model.problem.boundaries.size())
            return "a step has other boundaries than the problem";
    if (model.problem.time)
        (void)StepAt(model.problem, 0.5, Side::Before);
    return isWhole ? "" : "the model is bound in part";
}

} // namespace fuzz
