#include "output/report/Report.h"

#include "output/files/Provenance.h"
#include "output/report/ReportPage.h"
#include "output/report/ReportTables.h"
#include "problem/NumberText.h"
#include "problem/TextFile.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <utility>
#include <vector>

namespace percova
{
namespace
{

using report::Page;
using report::PageTable;
using Json = nlohmann::ordered_json;

/// The number under a path of keys; missing where there is none.
double NumberAt(const Json& json, std::initializer_list<const char*> path)
{
    const Json* at = &json;
    for (const char* key : path)
    {
        if (!at->is_object() || !at->contains(key))
            return MissingValue<double>();
        at = &(*at)[key];
    }
    return at->is_number() ? at->get<double>() : MissingValue<double>();
}

std::string Joined(const std::vector<std::string>& texts, const char* between)
{
    std::string all;
    for (const std::string& text : texts)
        if (!text.empty())
            all += (all.empty() ? "" : between) + text;
    return all;
}

/// The command as one would type it.
std::string CommandOf(const StoredRun& run)
{
    std::string line = "percova";
    for (const std::string& argument : run.command)
        line += ' ' + (argument.find_first_of(" \"'&|;()<>*?$") == std::string::npos
                           ? argument
                           : '"' + argument + '"');
    return line;
}

/// What is missing of a run that was interrupted; empty when nothing is.
std::string MissingOf(const StoredRun& run)
{
    if (run.states.empty())
        return "The run has no results yet.";
    if (!run.isInTime)
        return run.states.size() >= run.stepsOfProblem
                   ? std::string()
                   : "Only " + std::to_string(run.states.size()) + " of " +
                         std::to_string(run.stepsOfProblem) + " steps have been computed.";
    const double end = NumberAt(*run.json, {"input", "time", "end"});
    const Json& times = (*run.json)["times"];
    const double last = times.empty() ? 0 : NumberAt(times.back(), {"time"});
    const bool isCut =
        std::any_of(run.command.begin(), run.command.end(),
                    [](const std::string& one) { return one.starts_with("--until"); });
    if (IsMissingValue(end) || IsMissingValue(last) || isCut || last >= end * (1 - 1e-9))
        return {};
    return "The last output is at " + Short(last) + ", the end of the problem at " + Short(end) +
           ' ' + run.units.time + '.';
}

void WriteVerdict(Page& page, const StoredRun& run)
{
    std::vector<std::string> failed;
    for (const RunState& state : run.states)
        if (!state.isConverged)
            failed.push_back(state.name.empty() ? "without a name" : state.name);
    const std::string missing = MissingOf(run);
    if (!run.stopped.empty())
        page.Paragraph("STOPPED: " + run.stopped, "bad");
    if (!failed.empty())
        page.Paragraph((run.isInTime ? "NOT CONVERGED at the time " : "NOT CONVERGED: step ") +
                           Joined(failed, ", "),
                       "bad");
    if (!missing.empty())
        page.Paragraph("INCOMPLETE: " + missing, "bad");
    if (run.stopped.empty() && failed.empty() && missing.empty())
        page.Paragraph(run.states.size() == 1
                           ? std::string("Converged.")
                           : "All " + std::to_string(run.states.size()) +
                                 (run.isInTime ? " outputs" : " steps") + " converged.",
                       "good");
}

void WriteSummaryTable(Page& page, const StoredRun& run)
{
    PageTable table;
    table.heads = {"run", ""};
    PageTable::Group& group = table.groups.emplace_back();
    const auto add = [&](const char* name, const std::string& text) {
        if (!text.empty())
            group.rows.push_back({{name}, {text}});
    };
    const auto count = [&](const char* key, const char* what) {
        const double value = NumberAt(*run.json, {"mesh", key});
        return IsMissingValue(value) ? std::string() : Exact(value) + ' ' + what;
    };
    add("problem", run.id);
    add("date", run.date);
    add("program", run.program);
    add("command", run.command.empty() ? std::string() : CommandOf(run));
    add("solver", run.solver);
    add("mesh", Joined({count("nodes", "nodes"), count("elements", "elements"),
                        count("equations", "equations")},
                       ", "));
    add("units", "length " + run.units.length + ", pressure " + run.units.pressure + ", time " +
                     run.units.time + "; flows for a thickness of 1 " + run.units.length +
                     ", positive into the soil");
    const double seconds = NumberAt(*run.json, {"seconds", "total"});
    add("seconds", IsMissingValue(seconds) ? std::string() : Short(seconds, 3));
    add("report", UtcNow() + ", " + ProgramVersion());
    page.Table(table);
}

/// Each warning once, with the states that have it.
void WriteWarnings(Page& page, const StoredRun& run)
{
    std::vector<std::pair<std::string, std::vector<std::string>>> all;
    const auto add = [&](const std::string& text, const std::string& state) {
        const auto found = std::find_if(all.begin(), all.end(),
                                        [&](const auto& one) { return one.first == text; });
        (found != all.end() ? *found : all.emplace_back(text, std::vector<std::string>()))
            .second.push_back(state);
    };
    for (const RunState& state : run.states)
    {
        if (!state.trouble.empty())
            add(state.trouble, state.name);
        for (const std::string& warning : state.warnings)
            add(warning, state.name);
    }
    page.Section("Warnings");
    std::vector<std::string> lines = run.warnings;
    for (const auto& [text, states] : all)
        lines.push_back(run.states.size() == 1
                            ? text
                            : text + (run.isInTime ? " (time " : " (step ") +
                                  (states.size() > 6
                                       ? states.front() + " to " + states.back() + ", " +
                                             std::to_string(states.size()) + " times"
                                       : Joined(states, ", ")) +
                                  ')');
    if (lines.empty())
        page.Paragraph("None.");
    else
        page.List(lines);
}

void WriteFigure(Page& page, const std::wstring& path, const char* kind, const std::string& caption)
{
    std::string svg, part, reason;
    constexpr std::uint64_t kLargest = std::uint64_t{1} << 24; // bytes of a picture
    if (ReadWhole(path, svg, reason, kLargest) && report::InlinePicture(svg, kind, part, reason))
        page.Figure(part, kind, caption);
    else
        page.Paragraph(caption + ": " + TextOf(NameOf(path)) + ' ' + reason, "bad");
}

void WritePictures(Page& page, const StoredRun& run, std::size_t most)
{
    page.Section("Pictures");
    if (run.isInTime)
        WriteFigure(page, run.FileOfRun(".history.svg"), "series", "Series over time");
    const std::vector<std::size_t> chosen = report::Chosen(run.states.size(), most);
    if (chosen.size() < run.states.size())
        page.Paragraph(std::to_string(chosen.size()) + " of " + std::to_string(run.states.size()) +
                           (run.isInTime ? " outputs" : " steps") + " are shown.",
                       "sub");
    for (const std::size_t state : chosen)
        WriteFigure(page, run.FileOfState(state, ".svg"), "picture",
                    run.isInTime ? "Time " + run.states[state].name + ' ' + run.units.time
                                 : "Step " + run.states[state].name);
}

} // namespace

void WriteReport(std::ostream& out, const StoredRun& run, std::size_t pictures)
{
    Page page(out);
    page.Begin(!run.title.empty() ? run.title : run.id.empty() ? "percova" : run.id);
    WriteVerdict(page, run);
    WriteSummaryTable(page, run);
    WriteWarnings(page, run);
    page.Section("Input as read");
    report::WriteInput(page, run);
    page.Section("Results");
    report::WriteResults(page, run);
    WritePictures(page, run, pictures);
    if (const auto input = run.json->find("input"); input != run.json->end())
    {
        constexpr std::size_t kLargest = 200'000; // bytes; more would fill a book
        const std::string text = input->dump(1, ' ', false, Json::error_handler_t::replace);
        page.Section("Problem file");
        if (text.size() > kLargest)
            page.Paragraph("The problem file is too long for the report; result.json holds it "
                           "under input.",
                           "sub");
        else
            page.Source(text);
    }
    page.End();
}

} // namespace percova
