#include "mesh/SideTable.h"

#include <algorithm>
#include <cstddef>

namespace percova
{

SideTable::SideTable(const Mesh& mesh) : start_(mesh.Nodes() + 1)
{
    const auto forEachSide = [&](auto visit) {
        for (std::size_t e = 0; e < mesh.Elements(); ++e)
        {
            const int corners = Corners(mesh.type[e]);
            const int* nodes = mesh.ElementNodes(e);
            for (int side = 0; side < corners; ++side)
                visit(nodes[side], nodes[(side + 1) % corners], static_cast<int>(e), side);
        }
    };
    // Counting sort by the smaller corner: the mesh is large and the buckets are small.
    std::size_t total = 0;
    forEachSide([&](int a, int b, int, int) {
        ++start_[static_cast<std::size_t>(std::min(a, b))];
        ++total;
    });
    sides_.resize(total);
    std::size_t sum = 0;
    for (std::size_t& position : start_)
    {
        sum += position;
        position = sum; // the end for now, its beginning after the next loop
    }
    forEachSide([&](int a, int b, int element, int side) {
        sides_[--start_[static_cast<std::size_t>(std::min(a, b))]] = {std::max(a, b), element,
                                                                      side};
    });
    for (std::size_t node = 0; node + 1 < start_.size(); ++node)
        std::sort(sides_.begin() + static_cast<std::ptrdiff_t>(start_[node]),
                  sides_.begin() + static_cast<std::ptrdiff_t>(start_[node + 1]),
                  [](const Side& one, const Side& two) {
                      return one.other != two.other       ? one.other < two.other
                             : one.element != two.element ? one.element < two.element
                                                          : one.side < two.side;
                  });
}

std::vector<SideTable::Side> SideTable::Between(int a, int b) const
{
    std::vector<Side> found;
    const auto node = static_cast<std::size_t>(std::min(a, b));
    const Side* const end = sides_.data() + start_[node + 1];
    const Side* side =
        std::lower_bound(sides_.data() + start_[node], end, std::max(a, b),
                         [](const Side& each, int other) { return each.other < other; });
    for (; side != end && side->other == std::max(a, b); ++side)
        found.push_back(*side);
    return found;
}

Edge SideOf(const Mesh& mesh, int element, int side)
{
    const auto e = static_cast<std::size_t>(element);
    const int corners = Corners(mesh.type[e]);
    const int* nodes = mesh.ElementNodes(e);
    Edge edge;
    edge.nodes = {nodes[side], nodes[(side + 1) % corners],
                  IsQuadratic(mesh.type[e]) ? nodes[corners + side] : -1};
    edge.element = element;
    edge.side = side;
    return edge;
}

std::vector<Edge> RimOf(const Mesh& mesh)
{
    std::vector<Edge> rim;
    SideTable(mesh).ForEachPair([&](const SideTable::Side* first, const SideTable::Side* last) {
        if (last - first == 1)
            rim.push_back(SideOf(mesh, first->element, first->side));
    });
    return rim;
}

} // namespace percova
