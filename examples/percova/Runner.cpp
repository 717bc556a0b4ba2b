#include "Runner.h"

#include "analysis/Analysis.h"
#include "output/Extremes.h"
#include "output/Summary.h"
#include "output/report/StoredRun.h"
#include "problem/NumberText.h"
#include "problem/Shown.h"
#include "problem/TextFile.h"
#include "time/Transient.h"

#include <nlohmann/json.hpp>

#include <ostream>

namespace percova
{

Runner::Runner(const Model& model, const std::wstring& folder, const std::string& settings,
               const Stopwatch& total, bool quiet, std::ostream& out, std::ostream& err)
    : model_(model), written_(model), files_(folder, model.problem),
      input_(std::make_shared<const nlohmann::ordered_json>(InputJson(model.problem))),
      mark_(files_, model.problem, settings), isInTime_(model.problem.time), total_(total),
      quiet_(quiet), out_(out), err_(err)
{
    ConvertToFileUnits(written_);
}

Exit Runner::Run(Results& results)
{
    std::string reason;
    const Units& units = model_.problem.units;
    if (!files_.CheckFolder(reason) || !files_.MakeFolders(0, reason))
        return NotWritten("the folder " + TextOf(files_.Folder()) + " cannot be made: " + reason);
    if (isInTime_)
        mark_.ReadState(model_.mesh.Nodes(), results);
    else
        mark_.Read(model_.mesh.Nodes(), results.earlier, results.lastHead);
    // Files of another run are about to be replaced: no mark may name them any longer.
    if (results.earlier.empty() && !(isInTime_ ? mark_.SetState(0, results.state, reason)
                                               : mark_.Set(doc::file::mark::NoResults(), reason)))
        return NotWritten(reason);
    if (!quiet_ && !results.earlier.empty())
        out_ << "  continues after "
             << (isInTime_
                     ? "the time " + Short(results.state.time / units.seconds) + ' ' + units.time
                     : "step " + std::to_string(results.earlier.size()))
             << ", where an earlier run was interrupted\n";
    Watch watch;
    if (!quiet_)
        watch.time = [&](const TimeProgress& progress) { PrintProgress(out_, units, progress); };
    if (!quiet_)
        watch.iteration = [&](const Progress& progress) { PrintProgress(out_, progress); };
    watch.step = [&](StepResult& step) { return TakeStep(step, results); };
    if (!(isInTime_ ? AnalyseInTime : Analyse)(model_, watch, results, reason))
    {
        if (!writeFault_.empty())
            return NotWritten(writeFault_);
        err_ << "percova: " << Shown(reason) << '\n';
        return Exit::Other;
    }
    const double before = total_.Seconds();
    if (!Finish(results, reason))
        return NotWritten(reason);
    results.seconds.total = total_.Seconds();
    results.seconds.write += results.seconds.total - before;
    if (!quiet_)
    {
        PrintSeconds(out_, results.seconds);
        out_ << "  written to " << Shown(TextOf(files_.Folder())) << '\n';
    }
    return Outcome(results);
}

/// A transient run that fails writes its last state, from which it may be continued.
bool Runner::Finish(const Results& results, std::string& reason)
{
    if (isInTime_ && !WriteSummary(files_, written_, results, *input_, reason))
        return false;
    StoredRun run;
    std::size_t tables = 0;
    if (!TakeStoredRun(files_.Folder(), ResultJson(files_, written_, results, *input_), run) ||
        !WriteTables(run, files_, tables, reason))
        return false;
    if (!isInTime_)
        return mark_.Set(doc::file::mark::AllResults(), reason);
    if (!results.stopped.empty())
        return true;
    RemoveFile(files_.OfOutput(results.earlier.size() + results.steps.size() - 1, ".heads"));
    return mark_.SetState(0, results.state, reason);
}

Exit Runner::NotWritten(const std::string& reason)
{
    err_ << "percova: " << Shown(reason) << '\n';
    return Exit::NotWritten;
}

bool Runner::TakeStep(StepResult& step, Results& results)
{
    const DataTable::ConstValues heads = std::as_const(step.nodal).Column(dataparam::Head);
    const std::vector<double> head(heads.begin(), heads.end()); // in metres, as it was computed
    ConvertToFileUnits(model_.problem.units, step);
    FindExtremes(written_.problem.units, written_.mesh, step);
    if (!quiet_)
    {
        if (results.steps.size() == 1)
            PrintSolver(out_, results);
        PrintStep(out_, model_.problem.units, step);
    }
    KVI_LOG(kvi::diag::information, 0, "percova: %s of %s", TitleOf(step),
            Shown(model_.problem.id));
    if (!Write(step, head, results))
        return false;
    step.nodal.Clear(); // written, and large
    step.capacity = {};
    step.stream = {};
    if (!quiet_ && !isInTime_)
        ReportTimeLeft(step, results);
    return true;
}

/// The files of the step come first, then those of the run, and the mark only behind them.
bool Runner::Write(const StepResult& step, const std::vector<double>& head, Results& results)
{
    const double before = total_.Seconds();
    if (!WriteStep(files_, written_, step, head, writeFault_))
        return false;
    results.seconds.total = total_.Seconds();
    results.seconds.write += results.seconds.total - before;
    doc::file::mark::MarkStep mark;
    mark.AssignStepNumber_(static_cast<unsigned>(step.number));
    return WriteSummary(files_, written_, results, *input_, writeFault_) &&
           (isInTime_ ? mark_.SetState(step.number + 1, results.state, writeFault_)
                      : mark_.Set(mark, writeFault_));
}

void Runner::ReportTimeLeft(const StepResult& step, const Results& results)
{
    const std::size_t left = model_.problem.steps.size() - step.number;
    if (left == 0)
        return;
    const double each = (total_.Seconds() - results.seconds.read) /
                        static_cast<double>(step.number - results.earlier.size());
    out_ << "  " << left << (left == 1 ? " step" : " steps") << " to go, about "
         << Short(each * static_cast<double>(left), 2) << " seconds\n";
}

Exit Runner::Outcome(const Results& results)
{
    if (results.Converged())
        return Exit::Done;
    if (!results.stopped.empty())
        err_ << "percova: " << Shown(results.stopped) << '\n';
    for (const StepResult& step : results.steps)
        if (!step.converged)
            err_ << "percova: step " << Shown(step.name) << " did not converge: "
                 << (step.trouble.empty() ? "residual " + Short(step.residual, 3)
                                          : Shown(step.trouble))
                 << '\n';
    return Exit::NotConverged;
}

} // namespace percova
