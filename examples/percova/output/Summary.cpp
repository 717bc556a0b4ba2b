#include "output/Summary.h"

#include "mesh/Connectivity.h"
#include "problem/NumberText.h"
#include "problem/Shown.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <ostream>
#include <string>
#include <vector>

namespace percova
{
namespace
{

using Row = std::vector<std::string>;

/// Characters of UTF-8 text, for aligning.
std::size_t Width(const std::string& text)
{
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    }));
}

/// Columns wide enough for all rows: the first to the left, the others to the right.
void PrintTable(std::ostream& out, std::vector<Row> rows)
{
    for (Row& row : rows)
        for (std::string& cell : row)
            cell = Shortened(cell);
    std::vector<std::size_t> width;
    for (const Row& row : rows)
        for (std::size_t i = 0; i < row.size(); ++i)
        {
            width.resize(std::max(width.size(), i + 1));
            width[i] = std::max(width[i], Width(row[i]));
        }
    for (const Row& row : rows)
    {
        std::string line = "  ";
        for (std::size_t i = 0; i < row.size(); ++i)
        {
            const std::string fill(width[i] - Width(row[i]), ' ');
            line += i == 0 ? row[i] + fill : "  " + fill + row[i];
        }
        out << line.substr(0, line.find_last_not_of(' ') + 1) << '\n';
    }
}

/// 1234567 as "1,234,567".
std::string Grouped(std::size_t count)
{
    std::string text = std::to_string(count);
    for (std::size_t at = text.size(); at > 3; at -= 3)
        text.insert(at - 3, 1, ',');
    return text;
}

std::string Number(double value, int digits = 5)
{
    return IsMissingValue(value) || !std::isfinite(value) ? "-" : Short(value, digits);
}

std::string Place(const Point& point)
{
    return IsMissingValue(point.x) ? "-" : '(' + Number(point.x) + ", " + Number(point.y) + ')';
}

/// "1,200 Q4 and 30 T3"
std::string ElementsOf(const Mesh& mesh)
{
    std::array<std::size_t, 4> counts{};
    for (const ElementType type : mesh.type)
        ++counts[static_cast<std::size_t>(type)];
    std::string text;
    for (std::size_t i = 0; i < counts.size(); ++i)
        if (counts[i] != 0)
            text += (text.empty() ? "" : " and ") + Grouped(counts[i]) + ' ' +
                    Name(static_cast<ElementType>(i));
    return text;
}

void PrintFlows(std::ostream& out, const Units& units, const StepResult& step)
{
    const std::string unit = units.length + "3/" + units.time + " per " + units.length;
    const auto perDay = [&](double flow) {
        return IsMissingValue(flow) ? std::string("-") : Number(flow * 86400 / units.seconds);
    };
    std::vector<Row> rows{{"flow", unit, units.length + "3/day"}};
    const auto add = [&](const std::string& name, double flow) {
        rows.push_back({name, Number(flow), perDay(flow)});
    };
    add("in", step.flowIn);
    add("out", step.flowOut);
    for (const BoundaryFlow& boundary : step.boundaries)
        add("  through " + boundary.name, boundary.flow);
    for (const SourceFlow& source : step.sources)
        add("  by source " + source.name, source.flow);
    for (const SectionFlow& section : step.sections)
        add("  across " + section.name, section.flow);
    PrintTable(out, rows);
    for (const BoundaryFlow& boundary : step.boundaries)
        if (!IsMissingValue(boundary.ponded) && boundary.ponded + boundary.dried > 0)
            out << "  " << Shown(boundary.name) << " is limited on "
                << Number(boundary.ponded + boundary.dried) << ' ' << units.length << ": ponded on "
                << Number(boundary.ponded) << ", at the least pressure head on "
                << Number(boundary.dried) << '\n';
    if (!IsMissingValue(step.time))
        out << "  since the start in " << Number(step.cumulativeIn) << ", out "
            << Number(step.cumulativeOut) << ", stored " << Number(step.storedChange) << ' '
            << units.length << "3 per " << units.length << "; " << Grouped(step.taken) << " steps, "
            << Grouped(step.rejected) << " rejected\n";
    out << "  mass balance " << Number(step.massBalance, 3)
        << (IsMissingValue(step.time) ? " (in - out) / in" : " of all that went in and out");
    const double net = step.flowInIntegrated - step.flowOutIntegrated;
    if (IsMissingValue(step.flowInIntegrated) || IsMissingValue(step.flowOutIntegrated))
        ;
    else if (IsMissingValue(step.time) && step.flowInIntegrated != 0)
        out << "; from the flux along the boundary " << Number(net / step.flowInIntegrated, 3);
    else if (step.flowIn + step.flowOut > 0)
        out << "; the flux along the boundary differs by "
            << Number((net - (step.flowIn - step.flowOut)) / (step.flowIn + step.flowOut), 3)
            << " of what goes through";
    out << '\n';
    if (!IsMissingValue(step.storedWater))
        out << "  stored water " << Number(step.storedWater) << ' ' << units.length << "3 per "
            << units.length << '\n';
}

void PrintSurface(std::ostream& out, const StepResult& step)
{
    for (const SeepageFace& face : step.seepageFaces)
        out << "  seepage face " << Shown(face.name) << ": highest outflow at " << Place(face.exit)
            << '\n';
    for (const Polyline& line : step.surface)
        if (!line.empty())
            out << "  phreatic line from " << Place(line.front()) << " to " << Place(line.back())
                << '\n';
}

void PrintProbes(std::ostream& out, const Units& units, const StepResult& step)
{
    if (step.probes.empty())
        return;
    std::vector<Row> rows{{"probe", "at", "head", "pressure head", "pressure", "water content",
                           "kr", "gradient", "flux"},
                          {"", units.length, units.length, units.length, units.pressure, "", "", "",
                           units.length + '/' + units.time}};
    for (const ProbeValue& probe : step.probes)
        rows.push_back({probe.name, Place(probe.at), Number(probe.head, 6),
                        Number(probe.pressureHead), Number(probe.pressure),
                        Number(probe.waterContent), Number(probe.kr), Place(probe.gradient),
                        Place(probe.flux)});
    PrintTable(out, rows);
}

/// One region has the balance of the whole model, which is printed above.
void PrintRegions(std::ostream& out, const Units& units, const StepResult& step)
{
    if (step.regions.size() < 2)
        return;
    const bool isInTime = !IsMissingValue(step.time);
    const std::string volume = units.length + "3", flow = volume + '/' + units.time;
    std::vector<Row> rows{{"region", "in", "out", "sources", "balance"},
                          {"", flow, flow, flow, ""}};
    if (isInTime)
        rows = {{"region since the start", "in", "out", "sources", "stored", "balance"},
                {"", volume, volume, volume, volume, ""}};
    for (const RegionFlow& region : step.regions)
        if (isInTime)
            rows.push_back({"  " + region.name, Number(region.cumulativeIn),
                            Number(region.cumulativeOut), Number(region.cumulativeSources),
                            Number(region.storedChange), Number(region.balance, 3)});
        else
            rows.push_back({"  " + region.name, Number(region.in), Number(region.out),
                            Number(region.sources), Number(region.balance, 3)});
    PrintTable(out, rows);
}

void PrintExits(std::ostream& out, const StepResult& step)
{
    if (step.exits.empty())
        return;
    std::vector<Row> rows{{"exit gradient", "greatest", "at", "least factor", "at"}};
    for (const ExitFace& face : step.exits)
    {
        const ExitGradient& steepest = face.Steepest();
        const ExitGradient* const least = face.LeastSafe();
        rows.push_back({"  " + face.name, Number(steepest.outward), Place(steepest.at),
                        least == nullptr ? "-" : Number(least->factor),
                        least == nullptr ? "-" : Place(least->at)});
    }
    PrintTable(out, rows);
    for (const ExitFace& face : step.exits)
        if (!face.withoutFactor.empty())
            out << "  no factor " << (face.LeastSafe() == nullptr ? "" : "on a part ") << "of "
                << Shown(face.name) << ": " << Shown(face.withoutFactor) << '\n';
}

void PrintUplift(std::ostream& out, const Units& units, const StepResult& step)
{
    if (step.uplifts.empty())
        return;
    const bool isMetric = units.pressure == "kPa" && units.length == "m";
    const std::string force = isMetric ? "kN/m" : units.pressure + ' ' + units.length;
    std::vector<Row> rows{{"uplift", "force", "vertical", "from the start", "at", "in suction"},
                          {"", force, force, units.length, units.length, units.length}};
    for (const Uplift& uplift : step.uplifts)
        rows.push_back({"  " + uplift.name, Number(uplift.force), Number(uplift.vertical),
                        Number(uplift.along), Place(uplift.at), Number(uplift.suction)});
    PrintTable(out, rows);
}

void PrintFreeboards(std::ostream& out, const Units& units, const StepResult& step)
{
    if (step.freeboards.empty())
        return;
    std::vector<Row> rows{{"freeboard of the phreatic line", "least", "of the line at"},
                          {"", units.length, units.length}};
    for (const Freeboard& freeboard : step.freeboards)
        rows.push_back({"  " + freeboard.name, Number(freeboard.distance), Place(freeboard.at)});
    PrintTable(out, rows);
}

} // namespace

std::string TitleOf(const StepResult& step)
{
    if (!IsMissingValue(step.time))
        return "time " + Shown(step.name);
    const ::Step number = ::Step::CreateFromInt(static_cast<int>(step.number));
    const std::string title =
        str::as_u8string(kvi::step::PrettyPrint(number, MissingValue<double>())).bytes();
    return step.name == std::to_string(step.number) ? title : title + ", " + Shown(step.name);
}

void PrintFaults(std::ostream& out, const Faults& faults)
{
    std::vector<Fault> list = faults.List();
    std::stable_sort(list.begin(), list.end(), [](const Fault& a, const Fault& b) {
        return a.file == b.file && a.place.line < b.place.line;
    });
    for (const Fault& fault : list)
        out << Line(fault) << '\n';
    if (faults.LeftOut() != 0)
        out << "... and " << Grouped(faults.LeftOut()) << " more\n";
}

void PrintMesh(std::ostream& out, const Mesh& mesh)
{
    const auto [left, right] = std::minmax_element(mesh.x.begin(), mesh.x.end());
    const auto [low, high] = std::minmax_element(mesh.y.begin(), mesh.y.end());
    out << Shown(mesh.file) << ": Gmsh " << mesh.version << '\n'
        << "  " << Grouped(mesh.Nodes()) << " nodes, " << ElementsOf(mesh) << '\n'
        << "  x from " << Number(*left, 8) << " to " << Number(*right, 8) << ", y from "
        << Number(*low, 8) << " to " << Number(*high, 8) << '\n';
    const MeshParts parts = PartsOf(mesh);
    const std::vector<std::pair<int, int>> pairs = CoincidentNodes(mesh, 0);
    const auto cuts = std::count_if(pairs.begin(), pairs.end(), [&](const auto& pair) {
        return parts.ofNode[pair.first] == parts.ofNode[pair.second];
    });
    out << "  " << parts.count << (parts.count == 1 ? " part" : " parts that share no nodes");
    if (cuts != 0)
        out << ", cut open along walls where " << Grouped(std::size_t(cuts))
            << " pairs of nodes lie on each other";
    out << '\n';
    std::vector<Row> rows{{"physical surface", "elements", "area"}};
    for (const MeshGroup& group : mesh.surfaces)
        rows.push_back({"  " + group.name, Grouped(group.count), Number(group.size, 8)});
    rows.push_back({"physical curve", "sides", "length"});
    for (const MeshGroup& group : mesh.curves)
        rows.push_back({"  " + group.name, Grouped(group.count), Number(group.size, 8)});
    PrintTable(out, rows);
    const auto loose = std::count(mesh.group.begin(), mesh.group.end(), -1);
    if (loose != 0)
        out << "  " << Grouped(static_cast<std::size_t>(loose))
            << " elements are in no physical surface: polygons decide\n";
}

void PrintModel(std::ostream& out, const Model& model)
{
    out << Shown(model.problem.id) << (model.problem.title.empty() ? "" : ": ")
        << Shown(model.problem.title) << '\n'
        << "  mesh " << Shown(model.mesh.file) << ": " << Grouped(model.mesh.Nodes()) << " nodes, "
        << ElementsOf(model.mesh);
    if (const int parts = PartsOf(model.mesh).count; parts > 1)
        out << ", " << parts << " parts that share no nodes";
    if (model.mesh.joined > 0)
        out << ", " << Grouped(model.mesh.joined) << " nodes joined to others";
    out << '\n';
}

void PrintProgress(std::ostream& out, const Units& units, const TimeProgress& progress)
{
    const double left = (progress.end - progress.time) / progress.length;
    out << "  " << Short(progress.time / units.seconds) << " of "
        << Short(progress.end / units.seconds) << ' ' << units.time << ", step "
        << Grouped(progress.taken) << " of " << Short(progress.length / units.seconds, 3) << ' '
        << units.time << ", " << progress.iterations << " iterations";
    if (left >= 1)
        out << "; about " << Short(std::ceil(left), 2) << " more at this length";
    out << std::endl; // flush at once for interactive use
}

void PrintProgress(std::ostream& out, const Progress& progress)
{
    const NewtonRound& round = progress.round;
    const std::string iteration = std::to_string(round.iteration);
    out << "  iteration " << std::string(iteration.size() < 3 ? 3 - iteration.size() : 0, ' ')
        << iteration << "  ";
    if (round.easing.leastKr >= 1)
        out << "as if saturated: ";
    else if (!std::isinf(round.easing.sharpness))
        out << "as if kr fell e times over " << Short(1 / round.easing.sharpness, 3)
            << " elements: ";
    else if (round.easing.leastKr > 0)
        out << "as if kr were at least " << Short(round.easing.leastKr, 2) << ": ";
    // In between the flows balance, but the seepage faces have not settled: the residual is not
    // meaningful.
    if (round.switched > 0)
        out << "seepage faces settle, " << Grouped(round.switched)
            << (round.switched == 1 ? " node changes" : " nodes change");
    else
        out << "residual " << Short(round.residual, 3);
    if (round.relaxation != 1)
        out << " (step of " << Short(round.relaxation, 3) << ')';
    out << std::endl; // flush at once for interactive use
}

void PrintSolver(std::ostream& out, const Results& results)
{
    out << "  " << results.solver << ", " << results.threads
        << (results.threads == 1 ? " thread, " : " threads, ") << Grouped(results.equations)
        << " equations, " << Grouped(results.nonzeros) << " stored values\n";
}

void PrintStep(std::ostream& out, const Units& units, const StepResult& step)
{
    out << TitleOf(step) << (step.converged ? ": converged" : ": NOT CONVERGED") << " after "
        << step.iterations << " iterations, residual " << Number(step.residual, 3) << '\n';
    if (!step.trouble.empty())
        out << "  " << Shown(step.trouble) << '\n';
    PrintFlows(out, units, step);
    PrintSurface(out, step);
    PrintProbes(out, units, step);
    PrintRegions(out, units, step);
    PrintExits(out, step);
    PrintUplift(out, units, step);
    PrintFreeboards(out, units, step);
    for (const std::string& warning : step.warnings)
        out << "  warning: " << Shown(warning) << '\n';
}

void PrintSeconds(std::ostream& out, const Seconds& seconds)
{
    out << "  seconds: read " << Number(seconds.read, 3) << ", assemble "
        << Number(seconds.assemble, 3) << ", solve " << Number(seconds.solve, 3) << ", write "
        << Number(seconds.write, 3) << ", other " << Number(seconds.Other(), 3) << ", total "
        << Number(seconds.total, 3) << '\n';
}

} // namespace percova
