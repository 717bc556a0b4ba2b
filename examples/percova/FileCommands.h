/// @file
/// The commands of percova that write single files: report, new and schema.
#pragma once

#include "CommandLine.h"

#include <cstddef>
#include <iosfwd>
#include <string>

namespace percova
{

/// Writes the report of the run in @p folder.
/// @param file      empty for report.html in the folder
/// @param pictures  see WriteReport
Exit MakeReport(const std::string& folder, const std::string& file, std::size_t pictures,
                std::ostream& out, std::ostream& err);

/// Writes a problem for a mesh; a file that is there is not replaced.
/// @param file  empty for one beside the mesh, named after it
Exit MakeProblem(const std::string& mesh, const std::string& file, std::ostream& out,
                 std::ostream& err);

/// Prints the schema of the problem file.
Exit PrintSchema(std::ostream& out);

} // namespace percova
