#include "numerics/iterative/UnknownPlaces.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>

namespace numerics
{
namespace
{

constexpr int kNone = -1;

std::uint64_t Hash(const double* begin, const double* end)
{
    std::uint64_t hash = 0;
    for (const double* at = begin; at != end; ++at) // 0 and -0 are equal
        hash =
            ((hash ^ std::bit_cast<std::uint64_t>(*at + 0.0)) * 0x9e3779b97f4a7c15u) ^ (hash >> 29);
    return hash;
}

/// @returns false where the nodes are of no use
bool FindNodes(UnknownPlaces& places)
{
    constexpr int kMostAtPoint = 64;
    const auto d = std::size_t(places.dimensions), n = places.component.size();
    const std::size_t most = n + n / 2 + 8 * d; // components, present or not
    places.nodes.reserve(n);
    std::vector<int> slots(std::bit_ceil(2 * n + 1), kNone); // nodes, by the hash of their points
    for (std::size_t i = 0; i < n; ++i)
    {
        const double* const here = &places.position[i * d];
        int atPoint = 0;
        const auto isOccupied = [&](std::size_t node) {
            const int* const members = &places.nodes[node * d];
            const int other = *std::max_element(members, members + d);
            if (!std::equal(here, here + d, &places.position[std::size_t(other) * d]))
                return true;
            ++atPoint;
            return members[places.component[i]] != kNone;
        };
        std::size_t at = std::size_t(Hash(here, here + d) >> 20) & (slots.size() - 1);
        while (slots[at] != kNone && isOccupied(std::size_t(slots[at])))
            at = (at + 1) & (slots.size() - 1);
        if (slots[at] == kNone)
        {
            slots[at] = int(places.nodes.size() / d);
            places.nodes.resize(places.nodes.size() + d, kNone);
            if (atPoint > kMostAtPoint || places.nodes.size() > most)
                return false;
        }
        places.nodes[std::size_t(slots[at]) * d + std::size_t(places.component[i])] = int(i);
    }
    return true;
}

/// Moves the first point to the origin and makes the largest coordinate 1. @returns false where
/// that is impossible
bool Normalise(UnknownPlaces& places)
{
    const auto d = std::size_t(places.dimensions);
    const std::vector<double> origin(places.position.begin(),
                                     places.position.begin() + places.dimensions);
    double largest = 0;
    for (std::size_t k = 0; k < places.position.size(); ++k)
        largest = std::max(largest, std::abs(places.position[k] -= origin[k % d]));
    if (largest == 0 || largest > std::numeric_limits<double>::max())
        return false;
    for (double& coordinate : places.position)
        coordinate /= largest;
    return true;
}

} // namespace

bool UnknownPlaces::AreInOrder() const
{
    for (std::size_t i = 0; i < nodes.size(); ++i)
        if (nodes[i] != int(i))
            return false;
    return true;
}

UnknownPlaces FindPlaces(int dimensions, const std::vector<int>& component,
                         const std::vector<double>& position)
{
    if (std::find(component.begin(), component.end(), kNone) != component.end())
        return {};
    try
    {
        UnknownPlaces places{dimensions, component, position, {}};
        return FindNodes(places) && Normalise(places) ? places : UnknownPlaces{};
    }
    catch (const std::bad_alloc&)
    {
        return {};
    }
}

} // namespace numerics
