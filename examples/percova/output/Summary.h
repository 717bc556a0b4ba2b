/// @file
/// Human-readable output of percova.
#pragma once

#include "analysis/Analysis.h"
#include "problem/Faults.h"

#include <iosfwd>
#include <string>

namespace percova
{

/// Every fault on its own line, and the number omitted.
void PrintFaults(std::ostream& out, const Faults& faults);
/// The contents of a mesh: elements by type, groups by name with counts and sizes.
void PrintMesh(std::ostream& out, const Mesh& mesh);
/// The model to be computed.
void PrintModel(std::ostream& out, const Model& model);
void PrintProgress(std::ostream& out, const Progress& progress);
void PrintProgress(std::ostream& out, const Units& units, const TimeProgress& progress);
/// "step 3, high water"
std::string TitleOf(const StepResult& step);
void PrintSolver(std::ostream& out, const Results& results);
/// The results of a step, in the units of the problem file.
void PrintStep(std::ostream& out, const Units& units, const StepResult& step);
void PrintSeconds(std::ostream& out, const Seconds& seconds);

} // namespace percova
