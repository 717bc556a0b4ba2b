#include "mesh/LineElements.h"

#include "mesh/MeshGeometry.h"
#include "mesh/MeshGroups.h"
#include "mesh/Neighbours.h"

#include <array>
#include <cstddef>
#include <string>

namespace percova
{
namespace
{

/// A line element of the file.
struct LineElement
{
    std::size_t position;                 ///< in its list
    const std::size_t* numbers;           ///< of its nodes
    std::array<int, 3> nodes{-1, -1, -1}; ///< first, last, middle
};

class LineReader
{
public:
    LineReader(const MshFile& file, Mesh& mesh, Faults& faults)
        : file_(file), mesh_(mesh), faults_(faults), curves_(file, 1, mesh.curves)
    {
    }

    /// @returns false with an error when a node of @p line is not in the mesh
    bool FindNodes(const NodeIndex& index, const std::vector<int>& kept, LineElement& line)
    {
        const bool hasMiddle = file_.lines.type[line.position] == 8;
        for (std::size_t i = 0; i < (hasMiddle ? 3 : 2); ++i)
        {
            const int node = index.Of(line.numbers[i]);
            line.nodes[i] = node < 0 ? -1 : kept[static_cast<std::size_t>(node)];
            if (line.nodes[i] >= 0)
                continue;
            Error(line,
                  " has node " + std::to_string(line.numbers[i]) +
                      (node < 0 ? ", which is not in the file" : ", which no plane element has"));
            return false;
        }
        return true;
    }

    /// @param edge  the side between the ends of @p line
    void Add(const LineElement& line, Edge edge)
    {
        if (edge.element < 0)
            return Error(line, " is not a side of any plane element");
        if (edge.nodes[2] != line.nodes[2])
            return Error(line, " and the plane element beside it differ in the node between");
        for (const int tag : file_.TagsOfLine(line.position))
        {
            edge.group = curves_.Of(tag);
            MeshGroup& group = mesh_.curves[static_cast<std::size_t>(edge.group)];
            ++group.count;
            group.size += LengthOf(mesh_, edge);
            mesh_.edges.push_back(edge);
        }
    }

private:
    void Error(const LineElement& line, const std::string& text)
    {
        faults_.Error(file_.name, {"", static_cast<int>(file_.lines.line[line.position])},
                      "line element " + std::to_string(file_.lines.number[line.position]) + text);
    }

    const MshFile& file_;
    Mesh& mesh_;
    Faults& faults_;
    MeshGroups curves_;
};

} // namespace

void AddLineElements(const MshFile& file, const NodeIndex& index, const std::vector<int>& kept,
                     Mesh& mesh, Faults& faults)
{
    LineReader reader(file, mesh, faults);
    std::vector<LineElement> lines;
    std::vector<std::array<int, 2>> ends;
    const std::size_t* numbers = file.lines.nodes.data();
    for (std::size_t i = 0; i < file.lines.number.size(); ++i)
    {
        LineElement line{i, numbers};
        numbers += MshNodeCount(file.lines.type[i]);
        if (file.lines.physical[i] == 0 || !reader.FindNodes(index, kept, line))
            continue;
        lines.push_back(line);
        ends.push_back({line.nodes[0], line.nodes[1]});
    }
    const std::vector<Edge> edges = SidesBetween(mesh, ends);
    for (std::size_t i = 0; i < lines.size(); ++i)
        reader.Add(lines[i], edges[i]);
}

} // namespace percova
