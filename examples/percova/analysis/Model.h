/// @file
/// A problem bound to its mesh: the input of the analysis.
#pragma once

#include "mesh/ElementFinder.h"
#include "mesh/Mesh.h"
#include "problem/Problem.h"

#include <memory>
#include <vector>

namespace percova
{

class Sections;

struct Model
{
    Problem problem;
    Mesh mesh;
    std::vector<int> material;                    ///< by element: index into problem.materials
    std::vector<std::vector<Edge>> boundaryEdges; ///< by boundary of the problem, in mesh order
    std::shared_ptr<const ElementFinder> finder;  ///< null when there is no probe or section
    std::shared_ptr<const Sections> sections;     ///< null when there are none
};

/// Gives every element its material and every boundary its sides, by the groups of the mesh or,
/// where it has none, by polygon and line. Fills the members of @p model after the mesh.
/// @returns false when a name or a position matches nothing; every reason is in @p faults
bool Bind(Model& model, Faults& faults);

} // namespace percova
