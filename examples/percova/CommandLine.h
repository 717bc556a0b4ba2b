/// @file
/// The commands of percova.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace percova
{

/// How a command ended; the value is the program's exit status.
enum class Exit
{
    Done = 0,
    Other = 1,
    WrongInput = 2,
    NotConverged = 3,
    NotWritten = 4
};

/// Runs one command line, without the program's name, in UTF-8. Does not throw.
Exit RunCommandLine(const std::vector<std::string>& arguments, std::ostream& out,
                    std::ostream& err);

} // namespace percova
