#include "output/picture/PicturePage.h"
#include "problem/NumberText.h"

#include <algorithm>
#include <string>

namespace percova::picture
{

void DrawStreamLines(Page& page, const Frame& frame, const Model& model, const StepResult& step)
{
    if (step.stream.empty())
        return;
    constexpr int kTubes = 10;
    const auto [least, greatest] = std::minmax_element(step.stream.begin(), step.stream.end());
    const double tube = (*greatest - *least) / kTubes;
    DataTable values = NodalTable(model.mesh.Nodes()); // contours are those of its heads
    std::copy(step.stream.begin(), step.stream.end(), values.Column(dataparam::Head).begin());
    const Triangles triangles = TrianglesOf(model.mesh, values, frame);
    std::string data;
    for (int i = 1; i < kTubes; ++i)
        for (const Polyline& line : ContourOf(triangles, *least + i * tube))
            data += PathData(line);
    const std::string style = "fill=\"none\" stroke=\"#a3341f\" stroke-width=\"1\"";
    page.Path(data, style);
    const Units& units = model.problem.units;
    page.LegendLine("<path d=\"M0 7H22\" " + style + "/>",
                    "stream lines, " + Short(tube, 3) + ' ' + units.length + "3/" + units.time +
                        " per " + units.length); // as long as the legend is wide
}

} // namespace percova::picture
