/// @file
/// The progress of a run of several steps, in a file beside its results.
#pragma once

#include "KVI.h"
#include "analysis/model/Results.h"
#include "output/files/ResultFiles.h"
#include "problem/Problem.h"

#include <cstddef>
#include <string>
#include <vector>

namespace percova
{

/// Allows an interrupted run to continue after its last complete step.
///
/// The mark is written after the files of its step are complete, and reset before a run restarts,
/// so it never names an incomplete step. It is valid only for the same problem, mesh and settings;
/// after a completed run the next one starts from the beginning. A steady problem of one step has
/// no mark.
class RunMark
{
public:
    /// @param settings  what else the results depend on
    RunMark(const ResultFiles& files, const Problem& problem, const std::string& settings);

    /// The steps of an interrupted run.
    /// @param nodes  of the mesh
    /// @param[out] steps  its complete steps in JSON, up to the first that did not converge; none
    /// if
    ///                    it is another run's
    /// @param[out] head   by node [m], of the last of them; empty when it cannot be read
    void Read(std::size_t nodes, std::vector<std::string>& steps, std::vector<double>& head) const;
    /// The state of an interrupted transient run: its outputs, its history and its last state.
    void ReadState(std::size_t nodes, Results& results) const;
    /// Marks the progress of a transient run, or that nothing of it is valid (@p outputs = 0).
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
