/// @file
/// How far a run of several steps has come, in a file beside its results.
#pragma once

#include "KVI.h"
#include "Problem.h"

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace percova
{

/// Lets an interrupted run go on behind its last whole step.
///
/// The mark is written after the files of its step are whole, so it never names one that is not. It
/// counts only for the same problem, mesh and settings; after a run that came to its end the next
/// one starts afresh. A problem of one step has no mark.
class RunMark
{
public:
    /// @param settings  what else the results depend on
    RunMark(const std::filesystem::path& folder, const Problem& problem,
            const std::string& settings);

    /// The steps that an interrupted run left in result.json, in JSON; none if it is another run's.
    std::vector<std::string> WholeSteps() const;
    /// @returns false with @p reason when the mark cannot be written
    bool Set(const doc::file::mark::MarkStep& mark, std::string& reason) const;

private:
    std::filesystem::path folder_, path_;
    std::size_t steps_;
    std::string fingerprint_; ///< of everything that the results depend on
};

} // namespace percova
