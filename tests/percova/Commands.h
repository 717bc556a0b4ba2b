/// @file
/// Command lines of percova run inside the test, and the files they read and leave.
#pragma once

#include "CommandLine.h"
#include "Scratch.h"

#include <nlohmann/json.hpp>

#include <sstream>
#include <string>
#include <vector>

namespace percova
{

struct CommandRun
{
    Exit exit;
    std::string out, err;
};

inline CommandRun RunCommand(std::vector<std::string> arguments,
                             const std::vector<std::string>& more = {})
{
    arguments.insert(arguments.end(), more.begin(), more.end());
    std::ostringstream out, err;
    const Exit exit = RunCommandLine(arguments, out, err);
    return {exit, out.str(), err.str()};
}

inline std::string CaseFile(const std::string& name)
{
    return TextOf(Cases() / (name + ".problem.json"));
}
inline std::string MeshFile(const std::string& name)
{
    return TextOf(Cases() / "mesh" / (name + ".msh"));
}

/// Discarded where it is no JSON.
inline nlohmann::json JsonOf(const std::filesystem::path& path)
{
    return nlohmann::json::parse(support::ReadAll(path), nullptr, false);
}

} // namespace percova
