/// @file
/// @internal The page a picture is drawn on: texts, lines, badges, the legend, occupied space.
#pragma once

#include "output/picture/Picture.h"

#include <cstddef>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace percova::picture
{

/// Writes the parts of an SVG picture. All lengths are pixels; the legend is on the right of the
/// drawing and grows downward.
class Page
{
public:
    /// @param frame  the drawing on the page
    Page(std::ostream& out, const Frame& frame)
        : out_(out), frame_(frame), legendX_(frame.left + frame.width + 64), legendY_(frame.top + 4)
    {
    }

    /// Opens the picture, high enough for @p legendLines lines and wide enough for @p title.
    void Begin(std::size_t legendLines, const std::string& title);
    void End();

    /// @param kind  a class of the style sheet, empty for none
    void Text(double x, double y, const std::string& text, const char* kind = "");
    /// A text with a white outline, readable on any background.
    void TextOnDrawing(Point at, const std::string& text);
    /// Finds and takes a free place for a name beside @p at.
    /// @returns where the text starts; to the right of @p at where no place is free
    Point PlaceName(Point at, const std::string& text);
    /// A text in the middle of @p at, turned by @p degrees, with a white rim.
    void Turned(Point at, double degrees, const std::string& text);
    /// A line of the axes.
    void Segment(double x1, double y1, double x2, double y2);
    void Path(const std::string& data, const std::string& attributes);
    /// A numbered disc.
    void Badge(Point at, std::size_t number, const char* colour);
    void LegendLine(const std::string& sign, const std::string& text);
    void LegendBadge(std::size_t number, const char* colour, const std::string& text);

    /// Takes a circle of the drawing, unless something is written there already.
    bool IsFree(Point at, double radius) { return IsFreeBut(at, radius, taken_.size()); }
    /// Takes a small circle, even where something is written.
    void Take(Point at) { taken_.emplace_back(at, 3); }
    /// The number of occupied circles; Forget frees those from @p first to before @p last.
    std::size_t Taken() const { return taken_.size(); }
    void Forget(std::size_t first, std::size_t last);

private:
    /// The same, as if only the first @p before circles were taken.
    bool IsFreeBut(Point at, double radius, std::size_t before);

    std::ostream& out_;
    Frame frame_;
    double legendX_, legendY_;
    std::vector<std::pair<Point, double>> taken_; ///< circles where something is written
};

/// Draws nine stream lines, between which a tenth of the flow passes, where a step has them.
void DrawStreamLines(Page& page, const Frame& frame, const Model& model, const StepResult& step);

/// Draws where sources are, with their rates in the legend.
void DrawSources(Page& page, const Frame& frame, const Model& model, const StepResult& step);

/// Draws the Darcy flux as arrows on a regular raster, all of them inside the soil; the longest is
/// that of the greatest flux on the raster, and the shortest are left out.
void DrawVectors(Page& page, const Frame& frame, const Model& model, const StepResult& step);

} // namespace percova::picture
