/// @file
/// @internal Orderings that keep the factors of a sparse matrix sparse: nested dissection.
#pragma once

#include "numerics/order/AdjacencyGraph.h"

#include <vector>

namespace numerics
{

/// The order of elimination by nested dissection: a small set of vertices that separates the graph
/// into two parts of about equal weight comes last, after both parts ordered recursively; parts of
/// a few hundred vertices are ordered by minimum degree. Better than minimum degree for solids and
/// large plane meshes, and it gives parts that can be eliminated in parallel.
///
/// Separators are found on a coarse graph and improved on every finer one, by passes that move them
/// vertex by vertex towards one side. Parts are ordered by all threads, with the same result for
/// any number of them; the first separator, about a tenth of the work at 1e5 vertices, is one
/// thread's.
/// Sources: George (1973), SIAM J. Numer. Anal. 10(2), 345-363; Fiduccia and Mattheyses (1982),
/// Design Automation Conference 19, 175-181; Karypis and Kumar (1998), SIAM J. Sci. Comput. 20(1),
/// 359-392.
std::vector<int> NestedDissectionOrder(const AdjacencyGraph& graph);

} // namespace numerics
