/// @file
/// Whole runs of programs on one problem: its files, and what a run of a program costs.
#pragma once

#include <string>
#include <vector>

namespace job
{

/// A layer of 60 m by 20 m in three-node triangles, two in each square of a grid whose inner nodes
/// are moved by up to a tenth of a side.
struct Layer
{
    struct Side
    {
        int first, last;
        int label; ///< 1 the left third of the ground, 2 the right third, 3 the left rim
    };

    /// @param nodes  about how many
    explicit Layer(int nodes);

    std::vector<double> x, y;
    std::vector<int> triangles; ///< three nodes each, anticlockwise
    std::vector<Side> sides;

    /// For percova: Gmsh's format 2.2, groups "layer", "left ground", "right ground", "rim".
    void WriteGmsh(const std::string& path) const;
    void WriteFreeFem(const std::string& path) const;
};

/// What one run of a program took.
struct Cost
{
    bool isDone = false; ///< it ended with status 0
    double seconds = 0;  ///< of processor time, all its threads
    double bytes = 0;    ///< most memory in use
    std::string output;  ///< what it printed
};

Cost Run(const std::vector<std::string>& command);

/// The number behind @p text in @p in; NaN where it is not there.
double NumberBehind(const std::string& in, const std::string& text);

/// A folder for the files of the runs, removed when the program ends.
const std::string& Folder();

} // namespace job
