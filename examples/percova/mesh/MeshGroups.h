/// @file
/// The physical groups of a mesh, gathered from the tags of its elements.
#pragma once

#include "mesh/Mesh.h"
#include "mesh/MshFile.h"

#include <map>
#include <string>
#include <vector>

namespace percova
{

/// Adds groups to a list in the order in which their tags are met.
class MeshGroups
{
public:
    /// Both have to live as long.
    /// @param dimension  of the groups, as in MshFile::names
    MeshGroups(const MshFile& file, int dimension, std::vector<MeshGroup>& groups)
        : file_(file), dimension_(dimension), groups_(groups)
    {
    }

    /// Index of the group with @p tag in the list; -1 for 0, which is none.
    int Of(int tag)
    {
        if (tag == 0)
            return -1;
        const auto [entry, isNew] = known_.emplace(tag, static_cast<int>(groups_.size()));
        if (isNew)
        {
            const auto name = file_.names.find({dimension_, tag});
            groups_.push_back(
                {tag, name == file_.names.end() ? std::to_string(tag) : name->second});
        }
        return entry->second;
    }

private:
    const MshFile& file_;
    int dimension_;
    std::vector<MeshGroup>& groups_;
    std::map<int, int> known_; ///< index by tag
};

} // namespace percova
