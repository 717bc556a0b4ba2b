/// @file
/// @internal The pieces of the picture: scale, triangles, contours, wet zone, soil outlines.
#pragma once

#include "analysis/model/Model.h"
#include "analysis/model/Results.h"

#include <array>
#include <string>
#include <vector>

namespace percova::picture
{

/// From the model's coordinates to the page's, which has y downward; all page lengths in pixels.
struct Frame
{
    double left = 0, top = 0;     ///< corner of the drawing on the page
    double width = 0, height = 0; ///< of the drawing
    double minX = 0, maxX = 1, minY = 0, maxY = 1;

    double X(double x) const { return left + (x - minX) / (maxX - minX) * width; }
    double Y(double y) const { return top + (maxY - y) / (maxY - minY) * height; }
    Point At(Point p) const { return {X(p.x), Y(p.y)}; }
    /// The vertical exaggeration: 1 for none.
    double Stretch() const { return (height / (maxY - minY)) / (width / (maxX - minX)); }
};

/// Fits @p mesh into a drawing that is neither too large nor too thin, at a corner of the page.
Frame FrameOf(const Mesh& mesh, double leftOnPage, double topOnPage);

/// The elements as triangles between page points; quadrilaterals get a point in their middle.
struct Triangles
{
    std::vector<Point> points; ///< nodes of the mesh, then middles
    std::vector<std::array<int, 3>> corners;
    std::vector<double> head, pressureHead; ///< by point
};
Triangles TrianglesOf(const Mesh& mesh, const DataTable& nodal, const Frame& frame);

/// Multiples of a round step between two values, about @p count of them; none where the values
/// differ by rounding only.
struct Levels
{
    std::vector<double> values;
    int decimals = 0; ///< that the step needs
};
Levels RoundLevels(double least, double greatest, int count);

/// The lines on which the head has one value, thinned where they are straight.
std::vector<Polyline> ContourOf(const Triangles& triangles, double level);

/// Path data of the zone of positive pressure, in strips one pixel high.
std::string WetZone(const Triangles& triangles, const Frame& frame);

/// Path data of the outline of a material; curved sides are curves.
std::string OutlineOf(const Model& model, int material, const Frame& frame);

/// Removes points within @p tolerance of the line between their neighbours.
Polyline Simplified(const Polyline& line, double tolerance);

/// "12.3 4.5": a page point in path data.
std::string Coordinates(Point point);
/// Path data of a line in page coordinates.
std::string PathData(const Polyline& line);

} // namespace percova::picture
