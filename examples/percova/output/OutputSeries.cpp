#include "output/Output.h"
#include "output/files/Markup.h"
#include "output/picture/Picture.h"
#include "problem/NumberText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>
#include <string_view>
#include <utility>

namespace percova
{
namespace
{

constexpr double kLeft = 84, kWidth = 620, kHeight = 130, kGap = 58, kTop = 64; // pixels
constexpr std::size_t kMostLines = 8;
constexpr std::array<const char*, kMostLines> kColours{"#0a58ca", "#c2410c", "#15803d", "#7e22ce",
                                                       "#b45309", "#0f766e", "#be123c", "#475569"};

struct Column
{
    std::string name, unit;
    std::vector<double> values; ///< NaN where there is none
};

/// The fields of one line of a CSV file, which @p text is cut by.
std::vector<std::string> NextLine(std::string_view& text)
{
    std::vector<std::string> fields(1);
    bool quoted = false;
    std::size_t at = 0;
    for (; at < text.size() && (quoted || text[at] != '\n'); ++at)
        if (text[at] == '"')
            quoted = !quoted;
        else if (text[at] == ',' && !quoted)
            fields.emplace_back();
        else
            fields.back() += text[at];
    text.remove_prefix(std::min(at + 1, text.size()));
    return fields;
}

std::vector<Column> ColumnsOf(std::string_view csv)
{
    std::vector<Column> columns;
    for (const std::string& name : NextLine(csv))
        columns.push_back({name, {}, {}});
    const std::vector<std::string> units = NextLine(csv);
    for (std::size_t i = 0; i < columns.size() && i < units.size(); ++i)
        columns[i].unit = i == 0 && units[0].starts_with("# ") ? units[0].substr(2) : units[i];
    while (!csv.empty())
    {
        const std::vector<std::string> fields = NextLine(csv);
        for (std::size_t i = 0; i < columns.size(); ++i)
        {
            double value = std::numeric_limits<double>::quiet_NaN();
            if (i < fields.size())
                (void)std::from_chars(fields[i].data(), fields[i].data() + fields[i].size(), value);
            columns[i].values.push_back(value);
        }
    }
    return columns;
}

/// The columns whose names end with @p ending, named by what comes before it.
std::vector<Column> Ending(const std::vector<Column>& all, const std::string& ending)
{
    std::vector<Column> found;
    for (const Column& column : all)
        if (column.name.ends_with(ending) && found.size() < kMostLines)
        {
            found.push_back(column);
            found.back().name.resize(column.name.size() - ending.size());
        }
    return found;
}

/// Zero without a sign.
std::string Tick(double value) { return value == 0 ? "0" : Short(value, 6); }

class SeriesPicture
{
public:
    SeriesPicture(std::ostream& out, const Column& time) : out_(out), time_(time)
    {
        least_ = time.values.empty() ? 0 : time.values.front();
        most_ = time.values.empty() ? 1 : time.values.back();
    }

    void Panel(const std::string& title, const std::vector<Column>& lines)
    {
        double low = std::numeric_limits<double>::infinity(), high = -low;
        for (const Column& line : lines)
            for (const double value : line.values)
                if (std::isfinite(value))
                {
                    low = std::min(low, value);
                    high = std::max(high, value);
                }
        if (!(low <= high))
            return;
        const double spare = high > low ? 0.04 * (high - low) : std::max(1.0, std::abs(high));
        picture::Frame frame{kLeft,  top_,  kWidth,      kHeight,
                             least_, most_, low - spare, high + spare};
        Text(kLeft, top_ - 10, title + " [" + lines.front().unit + "]", "head");
        Axes(frame);
        for (std::size_t i = 0; i < lines.size(); ++i)
            Line(frame, lines[i], i);
        top_ += std::max(kHeight, 18.0 * double(lines.size())) + kGap;
    }

private:
    void Text(double x, double y, const std::string& text, const char* kind)
    {
        out_ << "<text x=\"" << Fixed(x, 1) << "\" y=\"" << Fixed(y, 1) << "\" class=\"" << kind
             << "\">" << Escaped(text) << "</text>\n";
    }
    void Stroke(Point from, Point to)
    {
        out_ << "<path class=\"grid\" d=\"" << picture::PathData({from, to}) << "\"/>\n";
    }
    void Axes(const picture::Frame& frame)
    {
        const auto levels = [](double low, double high, int count) {
            return picture::RoundLevels(low, high, count);
        };
        const picture::Levels up = levels(frame.minY, frame.maxY, 4);
        for (const double value : up.values)
        {
            Stroke(frame.At({least_, value}), frame.At({most_, value}));
            Text(kLeft - 8, frame.Y(value) + 4, Tick(value), "end");
        }
        for (const double value : levels(least_, most_, 8).values)
        {
            Stroke(frame.At({value, frame.minY}), frame.At({value, frame.maxY}));
            Text(frame.X(value), top_ + kHeight + 16, Tick(value), "middle");
        }
        Text(kLeft + kWidth, top_ + kHeight + 32, "time [" + time_.unit + "]", "end");
        out_ << "<rect class=\"frame\" x=\"" << Fixed(kLeft, 1) << "\" y=\"" << Fixed(top_, 1)
             << "\" width=\"" << Fixed(kWidth, 1) << "\" height=\"" << Fixed(kHeight, 1)
             << "\"/>\n";
    }
    void Line(const picture::Frame& frame, const Column& line, std::size_t number)
    {
        Polyline points;
        for (std::size_t i = 0; i < line.values.size(); ++i)
            if (std::isfinite(line.values[i]))
                points.push_back(frame.At({time_.values[i], line.values[i]}));
        const std::string colour = kColours[number];
        out_ << "<path class=\"line\" stroke=\"" << colour << "\" d=\""
             << picture::PathData(picture::Simplified(points, 0.2)) << "\"/>\n";
        const double y = top_ + 12 + 18 * double(number), x = kLeft + kWidth + 16;
        out_ << "<path class=\"line\" stroke=\"" << colour << "\" d=\""
             << picture::PathData({{x, y - 4}, {x + 20, y - 4}}) << "\"/>\n";
        Text(x + 26, y, line.name, "");
    }

    std::ostream& out_;
    const Column& time_;
    double least_ = 0, most_ = 1, top_ = kTop;
};

} // namespace

void WriteSeries(std::ostream& out, const Problem& problem, const std::string& history)
{
    const std::vector<Column> columns = ColumnsOf(history);
    std::vector<Column> totals;
    for (const Column& column : columns)
        if (column.name == "cumulative_in" || column.name == "cumulative_out")
            totals.push_back(column);
    if (!totals.empty())
        totals[0].name = "in";
    if (totals.size() > 1)
        totals[1].name = "out";
    const std::pair<std::string, std::vector<Column>> panels[] = {
        {"flow through boundaries and sections", Ending(columns, ".flow")},
        {"water that came in and went out since the start", totals},
        {"pressure head of the probes", Ending(columns, ".pressure_head")},
        {"water content of the probes", Ending(columns, ".water_content")}};
    constexpr double kPage = kLeft + kWidth + 230;
    const double height = kTop + 4 * (18 * double(kMostLines) + kGap);
    out << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << Fixed(kPage, 0) << "\" height=\""
        << Fixed(height, 0) << "\" viewBox=\"0 0 " << Fixed(kPage, 0) << ' ' << Fixed(height, 0)
        << "\">\n<style>text{font-family:'DejaVu Sans',Arial,Helvetica,sans-serif;font-size:12px;"
           "fill:#222}.title{font-size:18px;font-weight:bold}.head{font-weight:bold}"
           ".middle{text-anchor:middle}.end{text-anchor:end}.grid{stroke:#ddd;fill:none}"
           ".frame{stroke:#444;fill:none}.line{fill:none;stroke-width:1.8;stroke-linejoin:round}"
           "</style>\n<rect width=\"100%\" height=\"100%\" fill=\"#fff\"/>\n<text x=\""
        << Fixed(kLeft, 0) << "\" y=\"28\" class=\"title\">"
        << Escaped(problem.title.empty() ? problem.id : problem.title) << "</text>\n";
    if (!columns.empty())
    {
        SeriesPicture picture(out, columns.front());
        for (const auto& [title, lines] : panels)
            if (!lines.empty())
                picture.Panel(title, lines);
    }
    out << "</svg>\n";
}

} // namespace percova
