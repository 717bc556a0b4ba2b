#include "mesh/MeshBuild.h"

#include "KVI.h"
#include "mesh/Connectivity.h"
#include "mesh/HangingNodes.h"
#include "mesh/LineElements.h"
#include "mesh/MeshGeometry.h"
#include "mesh/MeshGroups.h"
#include "mesh/Neighbours.h"
#include "mesh/NodeIndex.h"
#include "problem/NumberText.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace percova
{
namespace
{

using sys::thread::task::ParallelForPieces;

constexpr std::size_t kGrain = 1024; ///< elements a thread takes at a time
constexpr double kFarthest = 1e9;    // larger coordinates are not plausible [m]
constexpr double kFlat = 1e-6;       // nodes of a plane differ by no more in z [m]

class Builder
{
public:
    Builder(const MshFile& file, Mesh& mesh, Faults& faults)
        : file_(file), mesh_(mesh), faults_(faults), index_(file, faults)
    {
    }

    void Refuse();
    void AddElements();
    void AddNodes(double metres);
    void JoinNodes(const NodeJoin& join);
    void AddGroups();
    void CheckElements();
    void CheckSides();
    void AddEdges() { AddLineElements(file_, index_, kept_, mesh_, faults_); }

private:
    void Error(std::uint32_t line, const std::string& text)
    {
        faults_.Error(file_.name, {"", static_cast<int>(line)}, text);
    }
    std::string Called(std::size_t element) const
    {
        return std::string(Name(mesh_.type[element])) + " element " +
               std::to_string(mesh_.elementNumber[element]);
    }
    std::uint32_t LineOf(std::size_t element) const { return file_.plane.line[position_[element]]; }
    void AddElement(std::size_t position, const std::size_t* numbers, ElementType type);
    void CheckSide(const Edge& edge);
    double TurnedArea(std::size_t element);

    const MshFile& file_;
    Mesh& mesh_;
    Faults& faults_;
    NodeIndex index_;
    std::vector<std::size_t> position_; ///< by element of the mesh: its place in the file's list
    std::vector<int> kept_;             ///< by node of the file: its index in the mesh, -1 unused
};

/// One fault for each unsupported kind of element, with advice on the mesh.
void Builder::Refuse()
{
    for (const auto& [type, count] : file_.refused)
    {
        const bool plane = MshTypeName(type).find("quadrangle") != std::string::npos ||
                           MshTypeName(type).find("triangle") != std::string::npos ||
                           MshTypeName(type).find("line") != std::string::npos;
        const std::string order = plane ? " -order 2 -setnumber Mesh.SecondOrderIncomplete 1" : "";
        Error(std::uint32_t(file_.refusedLine.at(type)),
              "holds " + std::to_string(count) + " elements of Gmsh's type " +
                  std::to_string(type) + " (" + MshTypeName(type) +
                  "); T3, Q4, T6 and Q8 can be computed with. Mesh the geometry again with: "
                  "gmsh MODEL.geo -2" +
                  order + " -format msh41 -o MODEL.msh");
    }
}

ElementType TypeOf(unsigned char gmsh)
{
    switch (gmsh)
    {
    case 2:
        return ElementType::T3;
    case 3:
        return ElementType::Q4;
    case 9:
        return ElementType::T6;
    default:
        return ElementType::Q8;
    }
}

void Builder::AddElements()
{
    const MshFile::Elements& list = file_.plane;
    kept_.assign(file_.nodeNumber.size(), -1);
    mesh_.start.push_back(0);
    mesh_.nodes.reserve(list.nodes.size());
    const std::size_t* numbers = list.nodes.data();
    for (std::size_t i = 0; i < list.number.size(); ++i)
    {
        const ElementType type = TypeOf(list.type[i]);
        AddElement(i, numbers, type);
        numbers += NodeCount(type);
    }
    if (mesh_.Elements() == 0 && !faults_.Any())
        Error(0, "holds no plane elements");
}

void Builder::AddElement(std::size_t position, const std::size_t* numbers, ElementType type)
{
    const std::string called = "element " + std::to_string(file_.plane.number[position]);
    std::array<int, 8> nodes{};
    const auto count = static_cast<std::size_t>(NodeCount(type));
    for (std::size_t i = 0; i < count; ++i)
    {
        nodes[i] = index_.Of(numbers[i]);
        if (nodes[i] < 0)
            return Error(file_.plane.line[position], called + " has node " +
                                                         std::to_string(numbers[i]) +
                                                         ", which is not in the file");
        if (std::find(nodes.data(), nodes.data() + i, nodes[i]) != nodes.data() + i)
            return Error(file_.plane.line[position],
                         called + " has node " + std::to_string(numbers[i]) + " twice");
    }
    for (std::size_t i = 0; i < count; ++i)
        kept_[static_cast<std::size_t>(nodes[i])] = 0;
    mesh_.nodes.insert(mesh_.nodes.end(), nodes.data(), nodes.data() + count);
    mesh_.start.push_back(static_cast<int>(mesh_.nodes.size()));
    mesh_.type.push_back(type);
    mesh_.elementNumber.push_back(file_.plane.number[position]);
    position_.push_back(position);
}

/// Keeps the nodes that elements use and gives them their new indices.
void Builder::AddNodes(double metres)
{
    double flat = 0;
    for (std::size_t i = 0; i < kept_.size(); ++i)
    {
        if (kept_[i] < 0)
            continue;
        if (mesh_.x.empty())
            flat = file_.z[i];
        const double x = file_.x[i] * metres, y = file_.y[i] * metres;
        kept_[i] = static_cast<int>(mesh_.x.size());
        mesh_.x.push_back(x);
        mesh_.y.push_back(y);
        mesh_.number.push_back(file_.nodeNumber[i]);
        if (!(std::abs(x) <= kFarthest && std::abs(y) <= kFarthest))
            Error(file_.nodeLine[i],
                  "node " + std::to_string(file_.nodeNumber[i]) + " has no usable coordinates");
        else if (!(std::abs(file_.z[i] - flat) * metres <= kFlat))
            Error(file_.nodeLine[i], "node " + std::to_string(file_.nodeNumber[i]) +
                                         " has another z than the first one: the mesh should lie "
                                         "in the x-y plane, y upward");
    }
    for (int& node : mesh_.nodes)
        node = kept_[static_cast<std::size_t>(node)];
}

void Builder::JoinNodes(const NodeJoin& join)
{
    std::vector<int> place;
    mesh_.joined = JoinParts(mesh_, join.distance, place);
    for (int& node : kept_)
        node = node < 0 ? node : place[node];
    for (std::size_t e = 0; e < mesh_.Elements(); ++e)
    {
        const int* const nodes = mesh_.ElementNodes(e);
        for (int k = 1; k < NodeCount(mesh_.type[e]); ++k)
            if (std::find(nodes, nodes + k, nodes[k]) != nodes + k)
                return Error(LineOf(e), Called(e) + " loses a side when nodes are joined over " +
                                            Short(join.distance) +
                                            " m; a shorter distance should do");
    }
}

void Builder::AddGroups()
{
    MeshGroups surfaces(file_, 2, mesh_.surfaces);
    for (const std::size_t position : position_)
        mesh_.group.push_back(surfaces.Of(file_.plane.physical[position]));
    for (const auto& [entity, tags] : file_.entities)
        if (entity.first == 2 && tags.size() > 1)
            faults_.Warning(file_.name, {},
                            "surface " + std::to_string(entity.second) + " is in " +
                                std::to_string(tags.size()) + " physical groups; the first counts");
}

/// Area inside the sides of @p element; if it is negative, the element is turned.
double Builder::TurnedArea(std::size_t element)
{
    int* const nodes = mesh_.nodes.data() + mesh_.start[element];
    const auto corners = static_cast<std::size_t>(Corners(mesh_.type[element]));
    const Polyline ring = RingOf(mesh_, element);
    const double area = Geom::PolygonArea2D(ring.data(), ring.size());
    if (area < 0)
    {
        std::reverse(nodes + 1, nodes + corners);
        if (IsQuadratic(mesh_.type[element]))
            std::reverse(nodes + corners, nodes + 2 * corners);
    }
    return std::abs(area);
}

void Builder::CheckElements()
{
    std::vector<double> areas(mesh_.Elements());
    std::vector<char> isFolded(mesh_.Elements());
    ParallelForPieces(0, mesh_.Elements(), kGrain, [&](std::size_t begin, std::size_t end) {
        for (std::size_t e = begin; e < end; ++e)
        {
            areas[e] = TurnedArea(e);
            isFolded[e] = !(SmallestJacobian(mesh_, e) > 0);
        }
    });
    for (std::size_t e = 0; e < mesh_.Elements(); ++e)
    {
        const double area = areas[e];
        if (mesh_.group[e] >= 0)
        {
            MeshGroup& group = mesh_.surfaces[static_cast<std::size_t>(mesh_.group[e])];
            ++group.count;
            group.size += area;
        }
        if (area == 0)
            Error(LineOf(e), Called(e) + " has no area");
        else if (isFolded[e])
            Error(LineOf(e), Called(e) + " is folded: its sides cross or a corner points inward");
    }
}

/// The side of element @p element between the corners of @p edge.
Edge SideAt(const Mesh& mesh, int element, const Edge& edge)
{
    const auto e = static_cast<std::size_t>(element);
    for (int side = 0;; ++side)
        if (const Edge own = SideOf(mesh, e, side);
            std::minmax(own.nodes[0], own.nodes[1]) == std::minmax(edge.nodes[0], edge.nodes[1]))
            return own;
}

/// The elements on both sides should run along a side in opposite directions and agree on the node
/// in its middle; a third one has no place there.
bool IsSound(const Mesh& mesh, const Edge& edge)
{
    const Edge other = SideAt(mesh, edge.opposite, edge);
    return other.nodes[0] == edge.nodes[1] && other.opposite == edge.element &&
           other.nodes[2] == edge.nodes[2];
}

void Builder::CheckSides()
{
    std::vector<char> isSound(mesh_.Elements(), 1);
    const auto forEach = [&](std::size_t e, auto visit) {
        for (int side = 0; side < Corners(mesh_.type[e]); ++side)
            if (mesh_.Across(e, side) >= 0 && mesh_.Across(e, side) < int(e))
                visit(SideOf(mesh_, e, side));
    };
    ParallelForPieces(0, mesh_.Elements(), kGrain, [&](std::size_t begin, std::size_t end) {
        for (std::size_t e = begin; e < end; ++e)
            forEach(e, [&](const Edge& edge) { isSound[e] = isSound[e] && IsSound(mesh_, edge); });
    });
    for (std::size_t e = 0; e < mesh_.Elements(); ++e)
        if (!isSound[e])
            forEach(e, [&](const Edge& edge) { CheckSide(edge); });
}

/// Compares an element with the first two at its side.
void Builder::CheckSide(const Edge& edge)
{
    if (IsSound(mesh_, edge))
        return;
    const auto two = static_cast<std::size_t>(edge.element);
    const Edge first = SideAt(mesh_, edge.opposite, edge);
    for (const Edge& other : {first, SideAt(mesh_, first.opposite, edge)})
    {
        const auto one = static_cast<std::size_t>(other.element);
        if (one >= two)
            return;
        if (other.nodes[0] == edge.nodes[0])
            return Error(LineOf(two), Called(two) + " lies over " + Called(one) +
                                          ": they are on the same side of the line from node " +
                                          std::to_string(mesh_.number[std::size_t(edge.nodes[0])]) +
                                          " to " +
                                          std::to_string(mesh_.number[std::size_t(edge.nodes[1])]));
        if (other.nodes[2] != edge.nodes[2])
            return Error(LineOf(two), Called(one) + " and " + Called(two) +
                                          " share a side, but not the node in its middle");
    }
}

} // namespace

bool BuildMesh(const MshFile& file, Mesh& mesh, Faults& faults, double metres, const NodeJoin& join)
{
    const std::size_t before = faults.Errors();
    mesh = {};
    mesh.file = file.name;
    mesh.version = file.version + (file.binary ? " binary" : " ASCII");
    // Element nodes are counted in ints.
    if (file.plane.nodes.size() > std::numeric_limits<int>::max() ||
        file.nodeNumber.size() > std::numeric_limits<int>::max())
    {
        faults.Error(file.name, {}, "is too large");
        return false;
    }
    Builder builder(file, mesh, faults);
    builder.Refuse();
    builder.AddElements();
    if (faults.Errors() != before)
        return false;
    builder.AddNodes(metres);
    if (join.joins)
    {
        FindNeighbours(mesh);
        builder.JoinNodes(join);
    }
    builder.AddGroups();
    if (faults.Errors() != before)
        return false;
    builder.CheckElements();
    FindNeighbours(mesh);
    builder.CheckSides();
    builder.AddEdges();
    if (faults.Errors() == before)
    {
        WarnOfHangingNodes(mesh, faults);
        WarnOfTouchingParts(mesh, faults);
    }
    return faults.Errors() == before;
}

} // namespace percova
