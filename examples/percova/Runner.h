/// @file
/// A run: computes a model step by step and writes each step when it is done.
#pragma once

#include "CommandLine.h"
#include "analysis/model/Model.h"
#include "analysis/model/Results.h"
#include "output/Output.h"
#include "output/RunMark.h"
#include "output/files/ResultFiles.h"

#include <nlohmann/json_fwd.hpp>

#include <chrono>
#include <iosfwd>
#include <memory>
#include <string>

namespace percova
{

class Stopwatch
{
public:
    double Seconds() const
    {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
    }

private:
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

class Runner
{
public:
    /// @param settings  the settings that the results depend on besides the problem and the mesh
    /// @param total     running since the program began
    Runner(const Model& model, const std::wstring& folder, const std::string& settings,
           const Stopwatch& total, bool quiet, std::ostream& out, std::ostream& err);

    /// Continues after the last complete step of an interrupted run.
    Exit Run(Results& results);

private:
    bool TakeStep(StepResult& step, Results& results);
    bool Write(const StepResult& step, const std::vector<double>& head, Results& results);
    void ReportTimeLeft(const StepResult& step, const Results& results);
    bool Finish(const Results& results, std::string& reason);
    Exit NotWritten(const std::string& reason);
    Exit Outcome(const Results& results);

    const Model& model_;
    Model written_; ///< in the units of the problem file
    ResultFiles files_;
    std::shared_ptr<const nlohmann::ordered_json> input_; ///< the problem file
    RunMark mark_;
    bool isInTime_;
    const Stopwatch& total_;
    bool quiet_;
    std::ostream& out_;
    std::ostream& err_;
    std::string writeFault_;
};

} // namespace percova
