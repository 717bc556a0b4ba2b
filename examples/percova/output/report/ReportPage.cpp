#include "output/report/ReportPage.h"

#include "output/files/Markup.h"
#include "problem/NumberText.h"
#include "problem/Shown.h"

#include <algorithm>
#include <cmath>

namespace percova::report
{
namespace
{

constexpr std::size_t kMostColumns = 8;  // that fit on A4
constexpr std::size_t kMostWhole = 30;   // rows of a table that is kept on one sheet
constexpr std::size_t kLongSource = 500; // characters of a line that is shown whole

constexpr const char* kStyle =
    "body{font:10.5pt/1.4 Arial,'Liberation Sans',Helvetica,'DejaVu "
    "Sans',sans-serif;color:#222;max-width:190mm;"
    "margin:8mm auto;padding:0 5mm}"
    "h1{font-size:19pt;line-height:1.2;margin:0 0 2mm;overflow-wrap:anywhere}"
    "h2{font-size:14pt;margin:9mm 0 2mm;border-bottom:.4mm solid #31445c;padding-bottom:1mm}"
    "h3{font-size:11pt;margin:5mm 0 1mm}"
    "p,ul{margin:1mm 0 2mm}li{overflow-wrap:anywhere}"
    ".sub{color:#555}.good,.bad{padding:1.5mm 3mm;border-left:1.5mm solid #15803d;"
    "background:#eef7f0;overflow-wrap:anywhere}.bad{border-color:#b91c1c;background:#fdf0ef;"
    "font-weight:bold}"
    "table{border-collapse:collapse;margin:1mm 0 4mm;font-size:8pt;line-height:1.3;"
    "max-width:100%}"
    "th,td{padding:.6mm 1.4mm;text-align:left;vertical-align:top;border-bottom:.2mm solid #ccc;"
    "}.long,tr.group th{overflow-wrap:anywhere}"
    "thead th{border-bottom:.3mm solid #31445c;vertical-align:bottom}"
    "thead .unit th{font-weight:normal;color:#555;padding-top:0}"
    "thead .head th{border-bottom:0;padding-bottom:0}"
    ".n{text-align:right;white-space:nowrap;font-variant-numeric:tabular-nums}"
    "tr.group th{background:#eef1f5}"
    "figure{margin:2mm 0 5mm}figure svg{max-width:100%;height:auto;display:block}"
    "figcaption{color:#555;font-size:9pt}"
    "pre{font:7.5pt/1.3 'DejaVu Sans Mono',Consolas,monospace;white-space:pre-wrap;"
    "overflow-wrap:anywhere}"
    "@page{size:A4;margin:15mm 14mm 17mm;@bottom-right{content:\"page \" counter(page) \" of \" "
    "counter(pages);font:8pt Arial,sans-serif;color:#555}}"
    "@media print{body{margin:0;padding:0;max-width:none}h2,h3{break-after:avoid}"
    "tr,figure,.whole{break-inside:avoid}thead{display:table-header-group}"
    "tr.group{break-after:avoid}figure svg{max-height:225mm}"
    ".good,.bad,tr.group th{print-color-adjust:exact;-webkit-print-color-adjust:exact}}";

std::string NumberOf(double value, int digits)
{
    if (IsMissingValue(value) || !std::isfinite(value))
        return {};
    return digits == 0 ? Exact(value) : Short(value, digits);
}

/// A column whose cells are numbers is aligned on the right, its head too.
bool IsNumeric(const PageTable& table, std::size_t column)
{
    bool hasNumber = false;
    for (const PageTable::Group& group : table.groups)
        for (const std::vector<Cell>& row : group.rows)
            if (column < row.size())
            {
                if (!row[column].text.empty())
                    return false;
                hasNumber = hasNumber || !row[column].IsEmpty();
            }
    return hasNumber;
}

/// Whether a text may be broken inside its words, so that it does not make a table too wide.
bool HasLongWord(const std::string& text)
{
    constexpr std::size_t kLong = 24;
    std::size_t size = 0;
    for (const char c : text)
        if (size = c == ' ' ? 0 : size + 1; size > kLong)
            return true;
    return false;
}

} // namespace

std::string Html(const std::string& text) { return Escaped(Shown(text)); }

void Page::Begin(const std::string& title)
{
    // The policy forbids scripts and other files, whatever the page holds.
    out_ << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
            "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
            "style-src 'unsafe-inline'\">\n"
            "<meta name=\"viewport\" content=\"width=device-width\">\n<title>"
         << Html(title) << "</title>\n<style>" << kStyle << "</style>\n</head>\n<body>\n<h1>"
         << Html(title) << "</h1>\n";
}

void Page::End() { out_ << "</body>\n</html>\n"; }

void Page::Section(const std::string& title) { out_ << "<h2>" << Html(title) << "</h2>\n"; }

void Page::Heading(const std::string& text) { out_ << "<h3>" << Html(text) << "</h3>\n"; }

void Page::Paragraph(const std::string& text, const char* kind)
{
    out_ << "<p";
    if (*kind != 0)
        out_ << " class=\"" << kind << '"';
    out_ << '>' << Html(text) << "</p>\n";
}

void Page::List(const std::vector<std::string>& items)
{
    out_ << "<ul>\n";
    for (const std::string& item : items)
        out_ << "<li>" << Html(item) << "</li>\n";
    out_ << "</ul>\n";
}

void Page::Table(const PageTable& table)
{
    const std::size_t count = table.heads.size(), labels = std::min(table.labels, count);
    std::vector<std::size_t> columns;
    for (std::size_t k = 0; k < count; ++k)
    {
        if (k < labels || columns.size() < kMostColumns)
            columns.push_back(k);
        else
        {
            Columns(table, columns);
            columns.resize(labels);
            columns.push_back(k);
        }
    }
    Columns(table, columns);
}

void Page::Columns(const PageTable& table, const std::vector<std::size_t>& columns)
{
    std::size_t rows = 0;
    for (const PageTable::Group& group : table.groups)
        rows += group.rows.size() + 1;
    std::vector<const char*> kinds;
    kinds.reserve(columns.size());
    for (const std::size_t k : columns)
        kinds.push_back(IsNumeric(table, k) ? " class=\"n\"" : "");
    out_ << (rows <= kMostWhole ? "<table class=\"whole\">\n" : "<table>\n");
    const auto line = [&](const char* kind, const std::vector<std::string>& texts) {
        out_ << "<tr" << kind << '>';
        for (std::size_t i = 0; i < columns.size(); ++i)
            out_ << "<th" << (HasLongWord(texts[columns[i]]) ? " class=\"long\"" : kinds[i]) << '>'
                 << Html(texts[columns[i]]) << "</th>";
        out_ << "</tr>\n";
    };
    out_ << "<thead>\n";
    line(table.units.empty() ? "" : " class=\"head\"", table.heads);
    if (!table.units.empty())
        line(" class=\"unit\"", table.units);
    out_ << "</thead>\n";
    for (const PageTable::Group& group : table.groups)
    {
        out_ << (group.rows.size() <= kMostWhole ? "<tbody class=\"whole\">\n" : "<tbody>\n");
        if (!group.title.empty())
            out_ << "<tr class=\"group\"><th colspan=\"" << columns.size() << "\">"
                 << Html(group.title) << "</th></tr>\n";
        for (const std::vector<Cell>& row : group.rows)
        {
            out_ << "<tr>";
            for (std::size_t i = 0; i < columns.size(); ++i)
            {
                const Cell cell = columns[i] < row.size() ? row[columns[i]] : Cell();
                out_ << "<td" << (HasLongWord(cell.text) ? " class=\"long\"" : kinds[i]) << '>'
                     << (cell.text.empty() ? NumberOf(cell.number, table.digits) : Html(cell.text))
                     << "</td>";
            }
            out_ << "</tr>\n";
        }
        out_ << "</tbody>\n";
    }
    out_ << "</table>\n";
}

void Page::Figure(const std::string& svg, const char* kind, const std::string& caption)
{
    out_ << "<figure class=\"" << kind << "\">\n"
         << svg << "<figcaption>" << Html(caption) << "</figcaption>\n</figure>\n";
}

void Page::Source(const std::string& text)
{
    out_ << "<pre>";
    for (std::size_t at = 0; at < text.size();)
    {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        out_ << Escaped(Shortened(std::string_view(text).substr(at, end - at), kLongSource))
             << '\n';
        at = end + 1;
    }
    out_ << "</pre>\n";
}

} // namespace percova::report
