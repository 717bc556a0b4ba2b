/// @file
/// A finite-element mesh in compact arrays, and its reader.
#pragma once

#include "problem/Faults.h"
#include "problem/Plane.h"

#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace percova
{

/// Plane elements. Nodes go anticlockwise: the corners first, then the middles of the sides, the
/// first middle lying between the first and the second corner.
enum class ElementType : unsigned char
{
    T3,
    Q4,
    T6,
    Q8
};

constexpr int Corners(ElementType type)
{
    return type == ElementType::T3 || type == ElementType::T6 ? 3 : 4;
}
constexpr bool IsQuadratic(ElementType type)
{
    return type == ElementType::T6 || type == ElementType::Q8;
}
constexpr int NodeCount(ElementType type) { return Corners(type) * (IsQuadratic(type) ? 2 : 1); }
constexpr const char* Name(ElementType type)
{
    constexpr std::array<const char*, 4> names{"T3", "Q4", "T6", "Q8"};
    return names[static_cast<std::size_t>(type)];
}

/// A side of an element. Its nodes run with the element on their left; the middle one is -1 on a
/// linear side. A line inside the mesh has elements on both sides, one on its rim only the first.
struct Edge
{
    std::array<int, 3> nodes{-1, -1, -1}; ///< first, last, middle
    int element = -1;                     ///< the element on the left
    int side = -1;                        ///< which of its sides, from 0
    int opposite = -1;                    ///< the element on the right, -1 for none
    int group = -1;                       ///< index into Mesh::curves, -1 for none
};

/// A physical group of the mesh file.
struct MeshGroup
{
    int tag = 0;
    std::string name; ///< UTF-8; the tag as text where the file has no name for it
    std::size_t count = 0;
    double size = 0; ///< area or length over all its elements [m2 or m]
};

/// Nodes that no element uses are not in it; nodes keep the order of the file.
struct Mesh
{
    std::string file; ///< as the user named it
    std::string version;

    std::vector<double> x, y;        ///< by node [m]
    std::vector<std::size_t> number; ///< by node: its number in the file, for messages

    std::vector<ElementType> type;          ///< by element
    std::vector<int> start;                 ///< elements + 1 positions in nodes
    std::vector<int> nodes;                 ///< nodes of all elements, one after the other
    std::vector<int> group;                 ///< by element: index into surfaces, -1 for none
    std::vector<std::size_t> elementNumber; ///< by element: its number in the file

    /// The places of node n in nodes, ascending: nodePlaces from placeStart[n] to placeStart[n+1].
    std::vector<std::size_t> placeStart;
    std::vector<int> nodePlaces;
    std::vector<int> placeElement; ///< by place in nodes: its element
    /// By the place of a corner in nodes: the element across the side that begins there, -1 on the
    /// rim. See FindNeighbours.
    std::vector<int> across;

    std::vector<MeshGroup> surfaces;
    std::vector<MeshGroup> curves;
    std::vector<Edge> edges; ///< the line elements of the file that belong to a physical curve
    std::size_t joined = 0;  ///< nodes that another one took the place of, see NodeJoin

    std::size_t Nodes() const { return x.size(); }
    std::size_t Elements() const { return type.size(); }
    /// The NodeCount(type[e]) nodes of element @p e.
    const int* ElementNodes(std::size_t e) const
    {
        return nodes.data() + static_cast<std::size_t>(start[e]);
    }
    /// The element across side @p side of element @p e, -1 for none.
    int Across(std::size_t e, int side) const
    {
        return across[static_cast<std::size_t>(start[e] + side)];
    }
};

/// Whether nodes of different parts of a mesh that lie on each other become one.
struct NodeJoin
{
    bool joins = false;
    double distance = 0; ///< [m]; 0: a millionth of the sides there
};

/// Reads a Gmsh mesh: format 2.2 or 4.1, ASCII or binary. Elements given clockwise are turned.
/// Coordinates are multiplied by @p metres, the length of the file's unit.
/// @returns false when there is no mesh to go on with; every reason is in @p faults
bool ReadMesh(const std::wstring& path, Mesh& mesh, Faults& faults, double metres = 1,
              const NodeJoin& join = {});

/// The same of a file that was read already.
/// @param name  of it, for messages
bool ReadMeshText(std::string text, const std::string& name, Mesh& mesh, Faults& faults,
                  double metres = 1, const NodeJoin& join = {});

} // namespace percova
