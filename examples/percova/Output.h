/// @file
/// What an analysis leaves behind: result.json, a .vtu and a picture for each step, and a .pvd.
#pragma once

#include "Model.h"
#include "Results.h"

#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

namespace percova
{

/// Turns lengths and pressures of the model and the results from metres and kPa into the units
/// of the problem file, in which everything is written.
void ConvertToFileUnits(Model& model, Results& results);

/// The problem file's name without its endings: what the results are named after.
std::string BaseName(const Problem& problem);

void WriteResultJson(std::ostream& out, const Model& model, const Results& results);
/// A file for ParaView: an unstructured grid with the nodal values of one step.
void WriteVtu(std::ostream& out, const Model& model, const StepResult& step);
/// The collection of the steps' .vtu files @p names.
void WritePvd(std::ostream& out, const std::vector<std::string>& names);
/// A drawing of one step: soil, head contours, phreatic line, boundaries.
void WritePicture(std::ostream& out, const Model& model, const StepResult& step);

/// Writes everything into @p folder, which is made if need be, adding to results.seconds.write.
/// @param written  the names of the files in the order they were written
/// @returns false with @p reason, the file's name in it, when one could not be written
bool WriteOutput(const std::filesystem::path& folder, const Model& model, Results& results,
                 std::vector<std::string>& written, std::string& reason);

} // namespace percova
