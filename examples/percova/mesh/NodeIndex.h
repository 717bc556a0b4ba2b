/// @file
/// From the numbers of nodes in a mesh file to their places in it.
#pragma once

#include "mesh/MshFile.h"
#include "problem/Faults.h"

#include <cstddef>
#include <utility>
#include <vector>

namespace percova
{

/// Finds a node's index by its number: by a table where the numbers are dense, else by bisection.
/// (A hash table takes quadratic time for numbers that are chosen to collide.)
class NodeIndex
{
public:
    /// Numbers that occur twice are errors in @p faults.
    NodeIndex(const MshFile& file, Faults& faults);

    /// -1 for a number that no node has.
    int Of(std::size_t number) const
    {
        if (!table_.empty())
            return number < table_.size() ? table_[number] : -1;
        return Search(number);
    }

private:
    int Search(std::size_t number) const;

    std::vector<int> table_;                          ///< index by number
    std::vector<std::pair<std::size_t, int>> sorted_; ///< number and index, where there is no table
};

} // namespace percova
