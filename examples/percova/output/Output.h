/// @file
/// The output files of an analysis: result.json, a .vtu and a picture for each step, and a .pvd.
#pragma once

#include "analysis/model/Model.h"
#include "analysis/model/Results.h"
#include "output/files/ResultFiles.h"

#include <nlohmann/json_fwd.hpp>

#include <ostream>
#include <string>
#include <vector>

namespace percova
{

/// Turns metres into the unit of the problem file, in which everything is written. The definitions
/// of materials, regions and probes are not converted.
void ConvertToFileUnits(Model& model);
void ConvertToFileUnits(const Units& units, StepResult& step);

/// The problem file for ResultJson; null where it is no JSON.
nlohmann::ordered_json InputJson(const Problem& problem);
/// What result.json holds.
/// @param files  for the names of the others
/// @param input  see InputJson
nlohmann::ordered_json ResultJson(const ResultFiles& files, const Model& model,
                                  const Results& results, const nlohmann::ordered_json& input);
void WriteJson(std::ostream& out, const nlohmann::ordered_json& json);
/// One of the steps in it.
void WriteStepJson(std::ostream& out, const StepResult& step);
/// A file for ParaView: an unstructured grid with the nodal values of one step.
void WriteVtu(std::ostream& out, const Model& model, const StepResult& step);
/// The collection of the steps' .vtu files @p names.
/// @param times  of each; empty: numbered from 1
void WritePvd(std::ostream& out, const std::vector<std::string>& names,
              const std::vector<double>& times);
/// One line for every time step of a transient run, after a header with names and units.
void WriteHistory(std::ostream& out, const Model& model, const Results& results);
/// Drawings of what WriteHistory wrote, one below the other: flows, water in and out, probes.
void WriteSeries(std::ostream& out, const Problem& problem, const std::string& history);
/// A drawing of one step: soil, head contours, phreatic line, boundaries.
void WritePicture(std::ostream& out, const Model& model, const StepResult& step);

/// Writes the files of one step: .vtu and .svg, and where there are several steps also .json and
/// .heads, which allow an interrupted run to continue.
/// @param head  by node [m]
/// @returns false with @p reason, the file's name in it, when one could not be written
bool WriteStep(const ResultFiles& files, const Model& model, const StepResult& step,
               const std::vector<double>& head, std::string& reason);
/// Heads as WriteStep wrote them; empty when they cannot be read or are not @p nodes.
std::vector<double> ReadHeads(const std::wstring& path, std::size_t nodes);
/// Writes what covers all steps so far: .pvd and result.json.
/// @param input  see InputJson
bool WriteSummary(const ResultFiles& files, const Model& model, const Results& results,
                  const nlohmann::ordered_json& input, std::string& reason);

} // namespace percova
