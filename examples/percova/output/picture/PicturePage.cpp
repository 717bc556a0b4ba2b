#include "output/picture/PicturePage.h"

#include "output/files/Markup.h"
#include "problem/NumberText.h"
#include "problem/Shown.h"

#include <algorithm>
#include <cmath>

namespace percova::picture
{
namespace
{

constexpr double kBelow = 84;   // under the drawing
constexpr double kLegend = 270; // width of what stands on the right
constexpr double kLine = 21;    // from one line of the legend to the next

constexpr const char* kStyle =
    "text{font-family:'DejaVu Sans',Arial,Helvetica,sans-serif;font-size:12px;fill:#222}"
    ".title{font-size:18px;font-weight:bold}.sub{fill:#555}.axis{stroke:#444;stroke-width:1;"
    "fill:none}.contour{fill:none;stroke:#31445c;stroke-width:.9}.halo{stroke:#fff;"
    "stroke-width:5;stroke-linejoin:round;fill:#fff}.value{font-size:11px;"
    "fill:#31445c}.surface{fill:none;stroke:#0a58ca;stroke-width:3.2;stroke-linejoin:round;"
    "stroke-linecap:round}.badge{font-size:11px;font-weight:bold;fill:#fff;text-anchor:middle}"
    ".middle{text-anchor:middle}.end{text-anchor:end}.head{font-weight:bold}";

} // namespace

void Page::Begin(std::size_t legendLines, const std::string& title)
{
    const double width =
        std::max(legendX_ + kLegend, frame_.left + 11.5 * static_cast<double>(title.size()));
    const double height =
        frame_.top + std::max(frame_.height + kBelow, static_cast<double>(legendLines) * kLine);
    out_ << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << Fixed(width, 0)
         << "\" height=\"" << Fixed(height, 0) << "\" viewBox=\"0 0 " << Fixed(width, 0) << ' '
         << Fixed(height, 0) << "\">\n<style>" << kStyle
         << "</style>\n<rect width=\"100%\" height=\"100%\" fill=\"#fff\"/>\n";
}

void Page::End() { out_ << "</svg>\n"; }

void Page::Text(double x, double y, const std::string& text, const char* kind)
{
    out_ << "<text x=\"" << Fixed(x, 1) << "\" y=\"" << Fixed(y, 1) << '"';
    if (*kind != 0)
        out_ << " class=\"" << kind << '"';
    out_ << '>' << Escaped(text) << "</text>\n";
}

void Page::TextOnDrawing(Point at, const std::string& text)
{
    Text(at.x, at.y, text, "halo");
    Text(at.x, at.y, text);
}

Point Page::PlaceName(Point at, const std::string& text)
{
    constexpr double kLetter = 7, kHalf = 6; // width of a letter, half of its height
    const double width = kLetter * static_cast<double>(text.size());
    const double sides[] = {at.x + 7, at.x - 7 - width}, heights[] = {-5, 14, -20, 29, -35, 44};
    for (const double height : heights)
        for (const double left : sides)
        {
            const Point start{left, at.y + height};
            const std::size_t before = taken_.size();
            bool isFree = start.y > frame_.top - 20;
            for (double x = 0; isFree && x < width + kHalf; x += kHalf)
                isFree = IsFreeBut({start.x + x, start.y - 4}, kHalf, before);
            if (isFree)
                return start;
            taken_.resize(before);
        }
    return {sides[0], at.y + heights[0]};
}

void Page::Turned(Point at, double degrees, const std::string& text)
{
    const std::string place = "<text transform=\"translate(" + Coordinates(at) + ") rotate(" +
                              Fixed(degrees, 1) + ")\" y=\"4\" class=\"middle value";
    out_ << place << " halo\">" << text << "</text>\n" << place << "\">" << text << "</text>\n";
}

void Page::Segment(double x1, double y1, double x2, double y2)
{
    out_ << "<path class=\"axis\" d=\"" << PathData({{x1, y1}, {x2, y2}}) << "\"/>\n";
}

void Page::Path(const std::string& data, const std::string& attributes)
{
    if (!data.empty())
        out_ << "<path d=\"" << data << "\" " << attributes << "/>\n";
}

void Page::Badge(Point at, std::size_t number, const char* colour)
{
    out_ << "<circle cx=\"" << Fixed(at.x, 1) << "\" cy=\"" << Fixed(at.y, 1)
         << "\" r=\"9\" fill=\"" << colour << "\"/>";
    Text(at.x, at.y + 4, std::to_string(number), "badge");
}

void Page::LegendLine(const std::string& sign, const std::string& text)
{
    out_ << "<g transform=\"translate(" << Fixed(legendX_, 1) << ' ' << Fixed(legendY_, 1) << ")\">"
         << sign << "</g>\n";
    const bool isCut = text.size() > 38 && text.find('\xC2') == std::string::npos;
    Text(legendX_ + 32, legendY_ + 12, isCut ? Shortened(text, 36) : text);
    legendY_ += kLine;
}

void Page::LegendBadge(std::size_t number, const char* colour, const std::string& text)
{
    Badge({legendX_ + 11, legendY_ + 7}, number, colour);
    LegendLine("", text);
}

bool Page::IsFreeBut(Point at, double radius, std::size_t before)
{
    for (std::size_t k = 0; k < before; ++k)
        if (std::hypot(at.x - taken_[k].first.x, at.y - taken_[k].first.y) <
            radius + taken_[k].second)
            return false;
    taken_.emplace_back(at, radius);
    return true;
}

void Page::Forget(std::size_t first, std::size_t last)
{
    taken_.erase(taken_.begin() + static_cast<std::ptrdiff_t>(first),
                 taken_.begin() + static_cast<std::ptrdiff_t>(last));
}

} // namespace percova::picture
