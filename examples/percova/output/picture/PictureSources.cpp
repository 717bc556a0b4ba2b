#include "mesh/MeshGeometry.h"
#include "output/picture/PicturePage.h"
#include "problem/NumberText.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

namespace percova::picture
{
namespace
{

constexpr const char* kStyle = "stroke=\"#00696d\" stroke-width=\"2.2\"";

/// The lines of a source on the page; a single point for one at a point.
std::vector<Polyline> LinesOf(const Source& source, const Frame& frame, const Mesh& mesh)
{
    const auto onPage = [&](Polyline line) {
        for (Point& point : line)
            point = frame.At(point);
        return line;
    };
    if (!source.line.empty())
        return {onPage(source.line)};
    std::vector<Polyline> lines;
    for (const Edge& edge : mesh.edges)
        if (mesh.curves[static_cast<std::size_t>(edge.group)].name == source.name)
            lines.push_back(onPage(ChordsOf(mesh, edge)));
    return lines;
}

/// A disc with a hole.
std::string WellSign(Point at)
{
    return "M" + Coordinates({at.x - 5, at.y}) + "a5 5 0 1 0 10 0a5 5 0 1 0 -10 0z";
}

/// "well: draws 2e-06 m3/s per m"
std::string RateText(const SourceFlow& source, const Units& units)
{
    if (IsMissingValue(source.flow) || source.flow == 0)
        return source.name + ": no flow";
    return source.name + (source.flow > 0 ? ": brings " : ": draws ") +
           Short(std::abs(source.flow), 3) + ' ' + units.length + "3/" + units.time + " per " +
           units.length;
}

} // namespace

void DrawSources(Page& page, const Frame& frame, const Model& model, const StepResult& step)
{
    const std::vector<Source>& sources = model.problem.sources;
    for (std::size_t i = 0; i < std::min(sources.size(), step.sources.size()); ++i)
    {
        const std::vector<Polyline> lines = LinesOf(sources[i], frame, model.mesh);
        if (lines.empty() || lines.front().empty())
            continue;
        const bool isPoint = lines.front().size() == 1;
        std::string data;
        for (const Polyline& line : lines)
            data += isPoint ? WellSign(line.front()) : PathData(line);
        const std::string sign = isPoint ? WellSign({11, 7}) : PathData({{0, 7}, {22, 7}});
        const std::string look = std::string(isPoint ? "fill=\"#fff\" " : "fill=\"none\" ") +
                                 kStyle + (isPoint ? "" : " stroke-dasharray=\"2 3\"");
        page.Path(data, look);
        const Polyline& middle = lines[lines.size() / 2];
        const Point at = middle[middle.size() / 2];
        page.TextOnDrawing(page.PlaceName(at, sources[i].name), sources[i].name);
        page.LegendLine("<path d=\"" + sign + "\" " + look + "/>",
                        RateText(step.sources[i], model.problem.units));
    }
}

} // namespace percova::picture
