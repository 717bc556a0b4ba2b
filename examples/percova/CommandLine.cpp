#include "CommandLine.h"

#include "ConvertCommand.h"
#include "FileCommands.h"
#include "KVI.h"
#include "Runner.h"
#include "analysis/Analysis.h"
#include "analysis/Binding.h"
#include "output/Output.h"
#include "output/Summary.h"
#include "output/files/Provenance.h"
#include "output/report/Report.h"
#include "problem/NumberText.h"
#include "problem/Shown.h"
#include "problem/TextFile.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>
#include <exception>
#include <functional>
#include <ostream>

namespace percova
{
namespace
{

struct Options
{
    std::string problem, mesh, folder, out, solver;
    std::size_t pictures = kMostPictures;
    double tolerance = 0;
    int maxIterations = 0, threads = 0;
    double until = 0, timeTolerance = 0;
    std::vector<double> outputs;
    std::vector<std::string> probes, results;
    bool quiet = false;
    std::vector<std::string> arguments; ///< all of them, as they were given
};

/// "X,Y" as a probe of that name. @returns false for anything else
bool ReadProbe(const std::string& text, double metres, Probe& probe)
{
    const char* const end = text.data() + text.size();
    const auto [comma, first] = std::from_chars(text.data(), end, probe.at.x);
    if (first != std::errc() || comma == end || *comma != ',')
        return false;
    const auto [stop, second] = std::from_chars(comma + 1, end, probe.at.y);
    probe.name = text;
    probe.at = {probe.at.x * metres, probe.at.y * metres};
    return second == std::errc() && stop == end;
}

/// The same for the settings of a transient run.
void ApplyTime(const Options& options, Problem& problem, Faults& faults)
{
    if (options.until == 0 && options.outputs.empty() && options.timeTolerance == 0)
        return;
    if (!problem.time)
        return faults.Error(problem.file, {},
                            "has no time, which --until, --output and --time-tolerance change");
    TimeSettings& time = *problem.time;
    const double seconds = problem.units.seconds;
    if (options.timeTolerance > 0)
        time.tolerance = options.timeTolerance * problem.units.metres;
    if (!options.outputs.empty())
    {
        const double end = time.outputs.back();
        time.outputs.clear();
        for (const double output : options.outputs)
            time.outputs.push_back(output * seconds);
        if (std::adjacent_find(time.outputs.begin(), time.outputs.end(), std::greater_equal<>()) !=
                time.outputs.end() ||
            !(time.outputs.front() > 0))
            faults.Error("--output", {}, "should be times after 0 in rising order");
        if (time.outputs.back() < end)
            time.outputs.push_back(end);
    }
    if (options.until > 0)
    {
        std::erase_if(time.outputs, [&](double t) { return t >= options.until * seconds; });
        time.outputs.push_back(options.until * seconds);
    }
}

/// Overrides the problem file's settings by those of the command line.
void Apply(const Options& options, Problem& problem, Faults& faults)
{
    if (!options.mesh.empty())
        problem.mesh = PathOf(options.mesh);
    if (!options.solver.empty())
        (void)SolverKindOf(options.solver, problem.solver.kind); // checked with the options
    if (options.tolerance > 0)
        problem.solver.tolerance = options.tolerance;
    if (options.maxIterations > 0)
        problem.solver.maxIterations = options.maxIterations;
    problem.solver.threads = options.threads;
    ApplyTime(options, problem, faults);
    for (const std::string& text : options.probes)
    {
        Probe probe;
        if (ReadProbe(text, problem.units.metres, probe))
            problem.probes.push_back(std::move(probe));
        else
            faults.Error("--probe", {}, "should be two numbers, X,Y, not '" + text + "'");
    }
}

/// What no mesh can be read from is reported where the mesh is named.
bool IsMeshFile(const Options& options, const Problem& problem, Faults& faults)
{
    std::error_code ignored; // a file that is not there is reported by opening it
    const bool isFolder =
        std::filesystem::is_directory(sys::file::NativePath(problem.mesh), ignored);
    const bool isEmpty =
        !isFolder && std::filesystem::is_empty(sys::file::NativePath(problem.mesh), ignored);
    if (!isFolder && !isEmpty)
        return true;
    const bool isOption = !options.mesh.empty();
    faults.Error(isOption ? "--mesh" : problem.file, isOption ? Place{} : problem.meshPlace,
                 TextOf(problem.mesh) + (isFolder ? " is a folder" : " is empty"));
    return false;
}

/// Reads everything, continuing after a fault so that all of them are reported.
bool ReadModel(const Options& options, Model& model, Faults& faults)
{
    bool right = ReadProblem(PathOf(options.problem), model.problem, faults);
    const std::size_t before = faults.Errors();
    Apply(options, model.problem, faults);
    right = right && faults.Errors() == before;
    if (model.problem.mesh.empty())
    {
        if (!model.problem.steps.empty()) // else the file is no problem at all
            faults.Error(model.problem.file, model.problem.meshPlace,
                         "names no mesh file; give one there or with --mesh");
        return false;
    }
    const PoolThreads threads(model.problem.solver.threads);
    const bool meshRight =
        IsMeshFile(options, model.problem, faults) &&
        ReadMesh(model.problem.mesh, model.mesh, faults, model.problem.units.metres,
                 {model.problem.joinsParts, model.problem.joinDistance});
    return meshRight && !model.problem.steps.empty() && Bind(model, faults) && right;
}

Exit Check(const Options& options, std::ostream& out)
{
    Model model;
    Faults faults;
    const bool right = ReadModel(options, model, faults);
    PrintFaults(out, faults);
    if (!right)
        return Exit::WrongInput;
    PrintModel(out, model);
    out << "nothing is wrong";
    if (faults.Warnings() != 0)
        out << ", but see the warnings";
    out << '\n';
    return Exit::Done;
}

Exit Info(const Options& options, std::ostream& out, std::ostream& err)
{
    Mesh mesh;
    Faults faults;
    const bool right = ReadMesh(PathOf(options.mesh), mesh, faults);
    PrintFaults(right ? out : err, faults);
    if (!right)
        return Exit::WrongInput;
    PrintMesh(out, mesh);
    return Exit::Done;
}

std::wstring FolderOf(const Options& options, const Problem& problem)
{
    if (!options.out.empty())
        return PathOf(options.out);
    return Beside(problem.path, BaseName(problem));
}

/// The settings that the results depend on besides the problem and the mesh.
std::string SettingsOf(const Options& options, const Model& model)
{
    const SolverSettings& solver = model.problem.solver;
    std::string text = std::string(Name(solver.kind)) + ' ' + Short(solver.tolerance, 17) + ' ' +
                       std::to_string(solver.maxIterations);
    if (model.problem.time)
        for (const double output : model.problem.time->outputs)
            text += ' ' + Exact(output);
    text += ' ' + Exact(options.timeTolerance);
    for (const std::string& probe : options.probes)
        text += ' ' + probe;
    return text;
}

Exit Run(const Options& options, std::ostream& out, std::ostream& err)
{
    const Stopwatch total;
    Model model;
    Faults faults;
    Results results;
    const bool right = ReadModel(options, model, faults);
    PrintFaults(err, faults);
    if (!right)
        return Exit::WrongInput;
    results.seconds.read = total.Seconds();
    results.date = UtcNow();
    results.command = options.arguments;
    for (const Fault& fault : faults.List())
        results.warnings.push_back(Line(fault));
    if (!options.quiet)
        PrintModel(out, model);
    Runner runner(model, FolderOf(options, model.problem), SettingsOf(options, model), total,
                  options.quiet, out, err);
    return runner.Run(results);
}

struct Commands
{
    CLI::App* run;
    CLI::App* check;
    CLI::App* info;
    CLI::App* report;
    CLI::App* convert;
    CLI::App* create;
    CLI::App* schema;
};

/// The commands that write single files.
void DeclareFiles(const Commands& commands, Options& options)
{
    commands.report->add_option("folder", options.folder, "The folder of a run's results")
        ->required();
    commands.report->add_option("--out", options.out, "The page (report.html in the folder)");
    commands.report->add_option("--pictures", options.pictures, "Steps or outputs to show, at most")
        ->check(CLI::Range(0, 10000));
    commands.convert
        ->add_option("result", options.results, "Folders of results, or the result.json in them")
        ->required();
    commands.convert->add_option("--out", options.out, "Folder to write to (that of each result)");
    commands.create->add_option("mesh", options.mesh, "The mesh file (Gmsh 2.2 or 4.1)")
        ->required();
    commands.create->add_option("--out", options.out, "The problem file (beside the mesh)");
}

Commands Declare(CLI::App& app, Options& options)
{
    app.require_subcommand(1);
    app.allow_windows_style_options(false); // a path may begin with a slash there too
    Commands commands{app.add_subcommand("run", "Analyse a problem and write the results"),
                      app.add_subcommand("check", "Tell everything that is wrong with a problem"),
                      app.add_subcommand("info", "Tell what a mesh holds"),
                      app.add_subcommand("report", "Write a page about an earlier run (HTML)"),
                      app.add_subcommand("convert", "Write the tables of earlier runs again (CSV)"),
                      app.add_subcommand("new", "Write a problem for a mesh, to be filled in"),
                      app.add_subcommand("schema", "Print the JSON schema of the problem file")};
    DeclareFiles(commands, options);
    for (CLI::App* command : {commands.run, commands.check})
    {
        command->add_option("problem", options.problem, "The problem file (JSON)")->required();
        command->add_option("--mesh", options.mesh, "A mesh instead of the file's own");
    }
    commands.info->add_option("mesh", options.mesh, "The mesh file (Gmsh 2.2 or 4.1)")->required();
    CLI::App* run = commands.run;
    run->add_option("--out", options.out, "Folder for the results (beside the problem)");
    run->add_option("--solver", options.solver, "pardiso, direct or iterative")
        ->check(CLI::IsMember({"pardiso", "direct", "iterative"}));
    run->add_option("--threads", options.threads,
                    "Threads, 0 for all processors, which is the default")
        ->check(CLI::Range(0, 1024));
    run->add_option("--tolerance", options.tolerance, "Relative residual to reach")
        ->check(CLI::Range(1e-300, 1.0));
    run->add_option("--max-iterations", options.maxIterations, "Iterations at most")
        ->check(CLI::Range(1, 1000000));
    run->add_option("--until", options.until, "Time at which a run in time ends")
        ->check(CLI::PositiveNumber);
    run->add_option("--output", options.outputs, "Times of its outputs, as T,T,...")
        ->delimiter(',');
    run->add_option("--time-tolerance", options.timeTolerance,
                    "Largest error of a head in one step")
        ->check(CLI::PositiveNumber);
    run->add_option("--probe", options.probes, "Points to report, as X,Y");
    run->add_flag("--quiet", options.quiet, "Print nothing but what is wrong");
    return commands;
}

/// @p exit, or that what was printed has not arrived.
Exit Printed(Exit exit, std::ostream& out, std::ostream& err)
{
    if (out.flush() || exit != Exit::Done)
        return exit;
    err << "percova: what was to be printed could not be written\n";
    return Exit::NotWritten;
}

} // namespace

namespace
{
Exit RunCommand(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err)
try
{
    Options options;
    CLI::App app("Two-dimensional saturated/unsaturated seepage, steady and in time", "percova");
    app.set_version_flag("--version", ProgramVersion());
    const Commands commands = Declare(app, options);
    try
    {
        std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
        app.parse(reversed);
    }
    catch (const CLI::ParseError& error)
    {
        return Printed(app.exit(error, out, err) == 0 ? Exit::Done : Exit::WrongInput, out, err);
    }
    options.arguments = arguments;
    const Exit exit = commands.check->parsed()  ? Check(options, out)
                      : commands.info->parsed() ? Info(options, out, err)
                      : commands.report->parsed()
                          ? MakeReport(options.folder, options.out, options.pictures, out, err)
                      : commands.convert->parsed()
                          ? ConvertRuns(options.results, options.out, out, err)
                      : commands.create->parsed() ? MakeProblem(options.mesh, options.out, out, err)
                      : commands.schema->parsed() ? PrintSchema(out)
                                                  : Run(options, out, err);
    return Printed(exit, out, err);
}
catch (const std::exception& exception)
{
    err << "percova: " << exception.what() << '\n';
    return Exit::Other;
}
} // namespace

Exit RunCommandLine(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err)
{
    SafeBuffer outBuffer(out), errBuffer(err);
    std::ostream safeOut(&outBuffer), safeErr(&errBuffer);
    return RunCommand(arguments, safeOut, safeErr);
}

} // namespace percova
