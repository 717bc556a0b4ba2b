/// @file
/// A problem bound to its mesh (see Binding.h): the input of the analysis.
#pragma once

#include "mesh/LineCut.h"
#include "mesh/Mesh.h"
#include "problem/Problem.h"

#include <memory>
#include <vector>

namespace percova
{

class Sections;

/// A node's share of a source.
struct NodeShare
{
    int node;
    double share;
};

struct Model
{
    Problem problem;
    Mesh mesh;
    std::vector<int> material;                    ///< by element: index into problem.materials
    std::vector<int> region;                      ///< by element: index into problem.regions
    std::vector<std::vector<Edge>> boundaryEdges; ///< by boundary of the problem, in mesh order
    std::shared_ptr<const ElementFinder> finder;  ///< null when nothing is looked for in the mesh
    std::shared_ptr<const Sections> sections;     ///< null when there are none
    std::vector<std::vector<NodeShare>> sourceShares; ///< by source; they add up to 1
    std::vector<std::vector<LinePiece>> upliftPieces; ///< by line of uplift
};

} // namespace percova
