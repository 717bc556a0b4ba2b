/// @file
/// How far a run of several steps has come, in a file beside its results.
#pragma once

#include "KVI.h"
#include "analysis/Results.h"
#include "output/ResultFiles.h"
#include "problem/Problem.h"

#include <cstddef>
#include <string>
#include <vector>

namespace percova
{

/// Lets an interrupted run go on behind its last whole step.
///
/// The mark is written after the files of its step are whole, and set back before a run begins
/// anew, so it never names a step that is not whole. It counts only for the same problem, mesh and
/// settings; after a run that came to its end the next one starts afresh. A steady problem of one
/// step has no mark.
class RunMark
{
public:
    /// @param settings  what else the results depend on
    RunMark(const ResultFiles& files, const Problem& problem, const std::string& settings);

    /// What an interrupted run left.
    /// @param nodes  of the mesh
    /// @param[out] steps  its whole steps in JSON, up to the first that did not converge; none if
    ///                    it is another run's
    /// @param[out] head   by node [m], of the last of them; empty when it cannot be read
    void Read(std::size_t nodes, std::vector<std::string>& steps, std::vector<double>& head) const;
    /// What an interrupted run in time left: its outputs, its history and from where it goes on.
    void ReadState(std::size_t nodes, Results& results) const;
    /// Marks how far a run in time has come, or that nothing of it counts (@p outputs = 0).
    /// @returns false with @p reason when that cannot be written
    bool SetState(std::size_t outputs, const TimeState& state, std::string& reason) const;
    /// @returns false with @p reason when the mark cannot be written
    bool Set(const doc::file::mark::MarkStep& mark, std::string& reason) const;

private:
    const ResultFiles& files_;
    std::size_t steps_;
    std::string fingerprint_; ///< of everything that the results depend on
};

} // namespace percova
