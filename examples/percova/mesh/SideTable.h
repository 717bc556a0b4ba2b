/// @file
/// Look-up of element sides by their two corners.
#pragma once

#include "mesh/Mesh.h"

#include <cstddef>
#include <vector>

namespace percova
{

/// The sides of all elements of a mesh, each stored at the smaller of its two corners.
class SideTable
{
public:
    struct Side
    {
        int other; ///< the greater corner
        int element;
        int side;
    };

    explicit SideTable(const Mesh& mesh);

    /// The sides between @p a and @p b, in the order of their elements.
    std::vector<Side> Between(int a, int b) const;
    /// Calls @p visit(first, last) with the sides of every pair of corners in turn, @p first
    /// pointing to at least one.
    template <class Visit>
    void ForEachPair(Visit visit) const
    {
        for (std::size_t node = 0; node + 1 < start_.size(); ++node)
        {
            const Side* const end = sides_.data() + start_[node + 1];
            for (const Side* first = sides_.data() + start_[node]; first != end;)
            {
                const Side* last = first;
                while (last != end && last->other == first->other)
                    ++last;
                visit(first, last);
                first = last;
            }
        }
    }

private:
    std::vector<std::size_t> start_; ///< by corner, one more than there are nodes
    std::vector<Side> sides_;        ///< within a corner by other corner, then by element
};

/// Side @p side of element @p element, its nodes in the element's direction; no group.
Edge SideOf(const Mesh& mesh, int element, int side);

} // namespace percova
