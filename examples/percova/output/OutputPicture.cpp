#include "mesh/MeshGeometry.h"
#include "mesh/Neighbours.h"
#include "output/Output.h"
#include "output/picture/Picture.h"
#include "output/picture/PicturePage.h"
#include "problem/NumberText.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace percova
{
namespace
{

using picture::ContourOf;
using picture::Coordinates;
using picture::Frame;
using picture::FrameOf;
using picture::Levels;
using picture::OutlineOf;
using picture::Page;
using picture::PathData;
using picture::RoundLevels;
using picture::Simplified;
using picture::Triangles;
using picture::TrianglesOf;
using picture::WetZone;

constexpr double kLeft = 96, kTop = 92; // corner of the drawing

constexpr std::array<const char*, 8> kSoils{"#efe5cd", "#dfcfae", "#d5dec2", "#ecd3ba",
                                            "#dedad0", "#d4c8b0", "#cdddd5", "#eedfd9"};

/// By BoundaryType.
constexpr std::array<const char*, 6> kBoundaryColours{"#0b4f9e", "#1b7f8c", "#2e8540",
                                                      "#6b6b6b", "#c8501e", "#0b4f9e"};

class Picture
{
public:
    Picture(std::ostream& out, const Model& model, const StepResult& step)
        : model_(model), step_(step), frame_(FrameOf(model.mesh, kLeft, kTop)), page_(out, frame_)
    {
    }

    void Draw();

private:
    void Soil();
    void Contours(const Triangles& triangles);
    void ContourLabel(const Polyline& line, const std::string& text);
    void Surface();
    void Boundaries();
    void Exits();
    void PlaceNames();
    void ProbesAndSections();
    void Axes();
    void Heading();
    Point PageOf(int node) const
    {
        const auto n = static_cast<std::size_t>(node);
        return frame_.At({model_.mesh.x[n], model_.mesh.y[n]});
    }

    const Model& model_;
    const StepResult& step_;
    Frame frame_;
    Page page_;
    std::vector<Point> names_; ///< where those of the probes start, then those of the sections
};

void Picture::Soil()
{
    const Units& units = model_.problem.units;
    for (std::size_t i = 0; i < model_.problem.materials.size(); ++i)
    {
        const std::string outline = OutlineOf(model_, static_cast<int>(i), frame_);
        if (outline.empty())
            continue;
        const std::string fill = std::string("fill=\"") + kSoils[i % kSoils.size()] + '"';
        page_.Path(outline, fill + " stroke=\"#555\" stroke-width=\"1\" fill-rule=\"evenodd\"");
        const Material& material = model_.problem.materials[i];
        page_.LegendLine(
            "<rect width=\"22\" height=\"14\" stroke=\"#555\" " + fill + "/>",
            material.name + ", k " + Short(material.kSat * units.seconds / units.metres, 3) +
                (material.anisotropy == 1
                     ? ""
                     : (material.angle == 0 ? std::string(" across, ")
                                            : " at " + Short(material.angle, 4) + " degrees, ") +
                           Short(material.kSat * material.anisotropy * units.seconds / units.metres,
                                 3) +
                           (material.angle == 0 ? " up" : " across it")) +
                ' ' + units.length + '/' + units.time);
    }
}

void Picture::ContourLabel(const Polyline& line, const std::string& text)
{
    double length = 0;
    for (std::size_t i = 1; i < line.size(); ++i)
        length += std::hypot(line[i].x - line[i - 1].x, line[i].y - line[i - 1].y);
    const double half = 3.6 * static_cast<double>(text.size());
    if (length < 2.2 * half + 20)
        return;
    for (const double share : {0.5, 0.4, 0.6, 0.3, 0.7, 0.2, 0.8})
    {
        double left = share * length;
        for (std::size_t i = 1; i < line.size(); ++i)
        {
            const Point a = line[i - 1], b = line[i];
            const double part = std::hypot(b.x - a.x, b.y - a.y);
            if (left > part)
            {
                left -= part;
                continue;
            }
            const Point at{a.x + (b.x - a.x) * left / part, a.y + (b.y - a.y) * left / part};
            if (!page_.IsFree(at, half))
                break;
            double angle = std::atan2(b.y - a.y, b.x - a.x) * 180 / 3.14159265358979;
            angle += angle > 90 ? -180 : angle <= -90 ? 180 : 0;
            page_.Turned(at, angle, text);
            return;
        }
    }
}

void Picture::Contours(const Triangles& triangles)
{
    const DataTable::ConstValues head = step_.nodal.Column(dataparam::Head);
    if (head.empty())
        return;
    const auto ends = std::minmax_element(head.begin(), head.end());
    const double least = *ends.first, greatest = *ends.second;
    Levels levels = RoundLevels(least, greatest, 16);
    // The least and the greatest head occur along whole boundaries, so they get no contour.
    const double margin = 1e-6 * (greatest - least);
    std::erase_if(levels.values, [&](double level) {
        return level < least + margin || level > greatest - margin;
    });
    std::vector<std::pair<Polyline, std::string>> labels;
    for (const double level : levels.values)
    {
        std::string data;
        const std::vector<Polyline> lines = ContourOf(triangles, level);
        for (const Polyline& line : lines)
            data += PathData(line);
        page_.Path(data, "class=\"contour\"");
        for (const Polyline& line : lines)
            labels.emplace_back(line, Fixed(level, levels.decimals));
    }
    const std::size_t lines = page_.Taken();
    for (const Polyline& line : step_.surface)
        for (const Point& point : line)
            page_.Take(frame_.At(point));       // no label over the phreatic line
    for (const Edge& edge : RimOf(model_.mesh)) // nor over the rim
    {
        const Point a = PageOf(edge.nodes[0]), b = PageOf(edge.nodes[1]);
        const int pieces = 1 + static_cast<int>(std::hypot(b.x - a.x, b.y - a.y) / 6);
        for (int i = 0; i < pieces; ++i)
            page_.Take({a.x + (b.x - a.x) * i / pieces, a.y + (b.y - a.y) * i / pieces});
    }
    const std::size_t endOfLines = page_.Taken();
    for (const auto& [line, text] : labels)
        ContourLabel(line, text);
    page_.Forget(lines, endOfLines);
    if (levels.values.size() > 1)
        page_.LegendLine("<path class=\"contour\" d=\"M0 7H22\"/>",
                         "head, every " +
                             Fixed(levels.values[1] - levels.values[0], levels.decimals) + ' ' +
                             model_.problem.units.length);
}

void Picture::Surface()
{
    bool any = false;
    for (const Polyline& line : step_.surface)
    {
        if (line.size() < 2)
            continue;
        Polyline page;
        for (const Point& point : line)
            page.push_back(frame_.At(point));
        page_.Path(PathData(Simplified(page, 0.2)), "class=\"surface\"");
        if (any)
            continue;
        any = true;
        // The water level's sign, a third along the line.
        const Point at = page[page.size() / 3];
        page_.Path("M" + Coordinates({at.x - 8, at.y - 15}) + "h16l-8 13zM" +
                       Coordinates({at.x - 7, at.y + 5}) + "h14M" +
                       Coordinates({at.x - 4, at.y + 9}) + "h8",
                   "fill=\"#fff\" stroke=\"#0a58ca\" stroke-width=\"1.4\"");
    }
    if (any)
        page_.LegendLine("<path class=\"surface\" d=\"M0 7H22\"/>", "phreatic line");
}

/// The condition of a boundary: "head 24 m", "flux 1e-07 m/s", "seepage face".
std::string Description(const Condition& condition, const Units& units)
{
    if (condition.type == BoundaryType::Seepage)
        return "seepage face";
    if (condition.type == BoundaryType::NoFlow)
        return "no flow";
    std::string text = condition.type == BoundaryType::PressureHead ? "pressure head "
                       : condition.type == BoundaryType::Flux       ? "flux "
                                                                    : "head ";
    if (condition.values.empty())
        return text;
    const auto [least, most] =
        std::minmax_element(condition.values.begin(), condition.values.end());
    text += Short(*least, 4);
    if (*least != *most)
        text += " to " + Short(*most, 4);
    return text + ' ' + units.length +
           (condition.type == BoundaryType::Flux ? '/' + units.time : "");
}

void Picture::Boundaries()
{
    const std::vector<Condition> conditions =
        IsMissingValue(step_.time)
            ? model_.problem.steps[step_.number - 1].conditions
            : StepAt(model_.problem, step_.time * model_.problem.units.seconds, Side::Before)
                  .conditions;
    for (std::size_t i = 0; i < model_.boundaryEdges.size(); ++i)
    {
        const std::vector<Edge>& edges = model_.boundaryEdges[i];
        if (edges.empty())
            continue;
        const char* colour = kBoundaryColours[static_cast<std::size_t>(conditions[i].type)];
        std::string data;
        for (const Edge& edge : edges)
        {
            Polyline side{PageOf(edge.nodes[0])};
            if (edge.nodes[2] >= 0)
                side.push_back(PageOf(edge.nodes[2]));
            side.push_back(PageOf(edge.nodes[1]));
            data += PathData(side);
        }
        page_.Path(data,
                   std::string("fill=\"none\" stroke=\"") + colour +
                       "\" stroke-width=\"4\" stroke-linecap=\"round\" stroke-opacity=\".85\"");
        // The number goes beside the side in the middle of the boundary, outside of the soil.
        const Edge* middle = &edges[edges.size() / 2];
        const Point a = PageOf(middle->nodes[0]), b = PageOf(middle->nodes[1]);
        const double size = std::max(std::hypot(b.x - a.x, b.y - a.y), 1e-9);
        Point at{(a.x + b.x) / 2 - (b.y - a.y) / size * 17,
                 (a.y + b.y) / 2 + (b.x - a.x) / size * 17};
        while (!page_.IsFree(at, 9))
            at = {at.x + (b.x - a.x) / size * 20, at.y + (b.y - a.y) / size * 20};
        page_.Badge(at, i + 1, colour);
        page_.LegendBadge(i + 1, colour,
                          model_.problem.boundaries[i].name + ": " +
                              Description(conditions[i], model_.problem.units));
    }
}

void Picture::Exits()
{
    for (const SeepageFace& face : step_.seepageFaces)
    {
        if (IsMissingValue(face.exit.x) || IsMissingValue(face.exit.y))
            continue;
        const Point at = frame_.At(face.exit);
        page_.Path("M" + Coordinates({at.x - 5, at.y}) + "a5 5 0 1 0 10 0a5 5 0 1 0 -10 0z",
                   "fill=\"#fff\" stroke=\"#c8501e\" stroke-width=\"2.4\"");
        page_.LegendLine("<circle cx=\"11\" cy=\"7\" r=\"5\" fill=\"#fff\" stroke=\"#c8501e\" "
                         "stroke-width=\"2.4\"/>",
                         face.name + ": leaves up to (" + Short(face.exit.x, 4) + ", " +
                             Short(face.exit.y, 4) + ')');
    }
}

/// Finds places for the names of probes and sections, which contour values then avoid.
void Picture::PlaceNames()
{
    for (const ProbeValue& probe : step_.probes)
        page_.Take(frame_.At(probe.at));
    for (const ProbeValue& probe : step_.probes)
        names_.push_back(page_.PlaceName(frame_.At(probe.at), probe.name));
    for (const Section& section : model_.problem.sections)
        names_.push_back(section.line.empty()
                             ? Point()
                             : page_.PlaceName(frame_.At(section.line.front()), section.name));
}

void Picture::ProbesAndSections()
{
    auto name = names_.begin();
    for (const ProbeValue& probe : step_.probes)
    {
        const Point at = frame_.At(probe.at);
        page_.Path("M" + Coordinates({at.x - 5, at.y}) + "h10M" + Coordinates({at.x, at.y - 5}) +
                       "v10",
                   "stroke=\"#7a1fa2\" stroke-width=\"1.8\" fill=\"none\"");
        page_.TextOnDrawing(*name++, probe.name);
    }
    for (const Section& section : model_.problem.sections)
    {
        Polyline page;
        for (const Point& point : section.line)
            page.push_back(frame_.At(point));
        page_.Path(PathData(page),
                   "stroke=\"#7a1fa2\" stroke-width=\"1.4\" stroke-dasharray=\"6 4\" "
                   "fill=\"none\"");
        if (!page.empty())
            page_.TextOnDrawing(*name, section.name);
        ++name;
    }
}

void Picture::Axes()
{
    const double x0 = frame_.left - 34, y0 = frame_.top + frame_.height + 34;
    const double right = frame_.left + frame_.width, bottom = frame_.top + frame_.height;
    const std::string& unit = model_.problem.units.length;
    page_.Segment(frame_.left, y0, right, y0);
    page_.Segment(x0, frame_.top, x0, bottom);
    const Levels across =
        RoundLevels(frame_.minX, frame_.maxX, std::max(3, static_cast<int>(frame_.width / 60)));
    for (const double x : across.values)
    {
        page_.Segment(frame_.X(x), y0, frame_.X(x), y0 + 5);
        page_.Text(frame_.X(x), y0 + 19, Fixed(x + 0.0, across.decimals), "middle");
    }
    const Levels up =
        RoundLevels(frame_.minY, frame_.maxY, std::max(3, static_cast<int>(frame_.height / 50)));
    for (const double y : up.values)
    {
        page_.Segment(x0 - 5, frame_.Y(y), x0, frame_.Y(y));
        page_.Text(x0 - 9, frame_.Y(y) + 4, Fixed(y + 0.0, up.decimals), "end");
    }
    page_.Text(frame_.left + frame_.width / 2, y0 + 38, "x [" + unit + ']', "middle");
    page_.Text(x0 - 6, frame_.top - 14, "y [" + unit + ']', "middle");
    const double stretch = frame_.Stretch();
    if (std::abs(stretch - 1) > 0.01)
        page_.Text(right, y0 + 38,
                   stretch > 1 ? "heights drawn " + Short(stretch, 3) + " times as large"
                               : "widths drawn " + Short(1 / stretch, 3) + " times as large",
                   "end sub");
}

void Picture::Heading()
{
    const Problem& problem = model_.problem;
    page_.Text(kLeft - 60, 34, problem.title.empty() ? problem.id : problem.title, "title");
    std::string line = problem.id + (IsMissingValue(step_.time) ? ", step " : ", time ") +
                       step_.name + ": " + std::to_string(model_.mesh.Nodes()) + " nodes, " +
                       std::to_string(model_.mesh.Elements()) + " elements";
    if (!IsMissingValue(step_.flowIn))
        line += "; flow " + Short(step_.flowIn, 4) + ' ' + problem.units.length + "3/" +
                problem.units.time + " per " + problem.units.length;
    if (!step_.converged)
        line += "; NOT CONVERGED";
    page_.Text(kLeft - 60, 55, line, "sub");
}

void Picture::Draw()
{
    const Problem& problem = model_.problem;
    const std::size_t lines = 6 + step_.seepageFaces.size() + !step_.stream.empty() +
                              problem.vectors + problem.materials.size() +
                              problem.boundaries.size() + step_.sources.size();
    page_.Begin(lines, problem.title);
    Heading();
    Soil();
    const Triangles triangles = TrianglesOf(model_.mesh, step_.nodal, frame_);
    const std::string wet = WetZone(triangles, frame_),
                      fill = "fill=\"#3d8ee6\" fill-opacity=\".34\"";
    page_.Path(wet, fill);
    if (!wet.empty())
        page_.LegendLine("<rect width=\"22\" height=\"14\" fill=\"#efe5cd\"/><rect width=\"22\" "
                         "height=\"14\" " +
                             fill + "/>",
                         "water pressure above zero");
    DrawStreamLines(page_, frame_, model_, step_);
    if (problem.vectors)
        DrawVectors(page_, frame_, model_, step_);
    PlaceNames();
    Contours(triangles);
    Surface();
    Boundaries();
    Exits();
    ProbesAndSections();
    DrawSources(page_, frame_, model_, step_);
    Axes();
    page_.End();
}

} // namespace

void WritePicture(std::ostream& out, const Model& model, const StepResult& step)
{
    Picture(out, model, step).Draw();
}

} // namespace percova
