#include "mesh/Neighbours.h"

#include "KVI.h"

#include <algorithm>

namespace percova
{
namespace
{
constexpr std::size_t kGrain = 1024; ///< nodes or elements a thread takes at a time

/// A side that has a node as the smaller of its corners.
struct Side
{
    int other; ///< the greater corner
    int element;
    int side;
};

/// Finds the sides at a node, and links the elements on both sides of each.
class Linker
{
public:
    explicit Linker(Mesh& mesh) : mesh_(mesh) {}

    void Link(std::size_t node)
    {
        sides_.clear();
        for (std::size_t k = mesh_.placeStart[node]; k < mesh_.placeStart[node + 1]; ++k)
            Add(static_cast<int>(node), mesh_.nodePlaces[k]);
        std::sort(sides_.begin(), sides_.end(), [](const Side& one, const Side& two) {
            return one.other != two.other ? one.other < two.other : one.element < two.element;
        });
        for (auto first = sides_.begin(); first != sides_.end();)
        {
            auto last = first + 1;
            while (last != sides_.end() && last->other == first->other)
                ++last;
            for (auto side = first; last - first > 1 && side != last; ++side)
                mesh_.across[PlaceOf(*side)] = (side == first ? first + 1 : first)->element;
            first = last;
        }
    }

private:
    std::size_t PlaceOf(const Side& side) const
    {
        return static_cast<std::size_t>(mesh_.start[static_cast<std::size_t>(side.element)] +
                                        side.side);
    }
    /// Adds the two sides that meet at a corner, as far as the node is their smaller one.
    void Add(int node, int place)
    {
        const int element = mesh_.placeElement[static_cast<std::size_t>(place)];
        const auto e = static_cast<std::size_t>(element);
        const int corners = Corners(mesh_.type[e]), corner = place - mesh_.start[e];
        if (corner >= corners)
            return;
        const int before = (corner + corners - 1) % corners, behind = (corner + 1) % corners;
        const int* nodes = mesh_.ElementNodes(e);
        if (nodes[behind] > node)
            sides_.push_back({nodes[behind], element, corner});
        if (nodes[before] > node)
            sides_.push_back({nodes[before], element, before});
    }

    Mesh& mesh_;
    std::vector<Side> sides_;
};

void FindPlaces(Mesh& mesh)
{
    mesh.placeStart.assign(mesh.Nodes() + 1, 0);
    for (const int node : mesh.nodes)
        ++mesh.placeStart[static_cast<std::size_t>(node) + 1];
    for (std::size_t n = 0; n < mesh.Nodes(); ++n)
        mesh.placeStart[n + 1] += mesh.placeStart[n];
    std::vector<std::size_t> next(mesh.placeStart.begin(), mesh.placeStart.end() - 1);
    mesh.nodePlaces.resize(mesh.nodes.size());
    mesh.placeElement.resize(mesh.nodes.size());
    for (std::size_t place = 0; place < mesh.nodes.size(); ++place)
        mesh.nodePlaces[next[static_cast<std::size_t>(mesh.nodes[place])]++] =
            static_cast<int>(place);
    for (std::size_t e = 0; e < mesh.Elements(); ++e)
        std::fill(mesh.placeElement.begin() + mesh.start[e],
                  mesh.placeElement.begin() + mesh.start[e + 1], static_cast<int>(e));
}

} // namespace

void FindNeighbours(Mesh& mesh)
{
    FindPlaces(mesh);
    mesh.across.assign(mesh.nodes.size(), -1);
    sys::thread::task::ParallelForPieces(0, mesh.Nodes(), kGrain,
                                         [&](std::size_t begin, std::size_t end) {
                                             Linker linker(mesh);
                                             for (std::size_t n = begin; n < end; ++n)
                                                 linker.Link(n);
                                         });
}

Edge SideOf(const Mesh& mesh, std::size_t element, int side)
{
    const int corners = Corners(mesh.type[element]);
    const int* nodes = mesh.ElementNodes(element);
    Edge edge;
    edge.nodes = {nodes[side], nodes[(side + 1) % corners],
                  IsQuadratic(mesh.type[element]) ? nodes[corners + side] : -1};
    edge.element = static_cast<int>(element);
    edge.side = side;
    edge.opposite = mesh.Across(element, side);
    return edge;
}

std::vector<Edge> SidesBetween(const Mesh& mesh, const std::vector<std::array<int, 2>>& corners)
{
    std::vector<std::array<int, 3>> wanted; // the two in ascending order, the number of the pair
    std::vector<char> isWanted(mesh.Nodes());
    for (std::size_t i = 0; i < corners.size(); ++i)
    {
        const auto [low, high] = std::minmax(corners[i][0], corners[i][1]);
        wanted.push_back({low, high, static_cast<int>(i)});
        isWanted[static_cast<std::size_t>(low)] = isWanted[static_cast<std::size_t>(high)] = 1;
    }
    std::sort(wanted.begin(), wanted.end());
    std::vector<Edge> found(corners.size());
    for (std::size_t e = 0; e < mesh.Elements(); ++e)
        for (int side = 0; side < Corners(mesh.type[e]); ++side)
        {
            const int* nodes = mesh.ElementNodes(e);
            const auto [low, high] =
                std::minmax(nodes[side], nodes[(side + 1) % Corners(mesh.type[e])]);
            if (!isWanted[static_cast<std::size_t>(low)] ||
                !isWanted[static_cast<std::size_t>(high)])
                continue;
            auto at = std::lower_bound(wanted.begin(), wanted.end(), std::array{low, high, 0});
            for (; at != wanted.end() && (*at)[0] == low && (*at)[1] == high; ++at)
            {
                Edge& edge = found[static_cast<std::size_t>((*at)[2])];
                if (edge.element >= 0)
                    break; // as all that follow
                edge = SideOf(mesh, e, side);
            }
        }
    return found;
}

std::vector<Edge> RimOf(const Mesh& mesh)
{
    std::vector<Edge> rim;
    ForEachSide(mesh, [&](const Edge& edge) {
        if (edge.opposite < 0)
            rim.push_back(edge);
    });
    return rim;
}

} // namespace percova
