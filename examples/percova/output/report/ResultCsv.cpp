#include "output/files/Csv.h"
#include "output/report/StoredRun.h"
#include "problem/NumberText.h"
#include "problem/TextFile.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace percova
{
namespace
{

/// Tables that a run may have or not.
constexpr std::array kKnown{
    "boundaries", "seepage_faces", "surface",  "probes",         "sections",
    "extremes",   "sources",       "regions",  "exit_gradients", "exit_gradients_sides",
    "uplift",     "uplift_points", "freeboard"};

/// Whether a key can be part of a file name on every system.
bool IsFileName(const std::string& key)
{
    return !key.empty() && key.size() < 60 && std::all_of(key.begin(), key.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
    });
}

std::string WithUnit(const std::string& name, const std::string& unit)
{
    return CsvField(unit.empty() ? name : name + " [" + unit + ']');
}

std::string FieldOf(const Cell& cell)
{
    if (!cell.text.empty())
        return CsvField(cell.text);
    return IsMissingValue(cell.number) || !std::isfinite(cell.number) ? "" : Exact(cell.number);
}

/// Lines end as RFC 4180 has it.
void WriteTable(std::ostream& out, const StoredRun& run, const ResultTable& table)
{
    std::vector<std::string> fields{run.isInTime ? WithUnit("time", run.units.time)
                                                 : std::string("step"),
                                    table.name == "surface" ? "line" : "name"};
    for (const std::string& key : table.columns)
        fields.push_back(WithUnit(key, run.UnitOf(key)));
    out << CsvLine(fields) << "\r\n";
    for (const ResultTable::Row& row : table.rows)
    {
        fields = {CsvField(run.states[row.state].name), CsvField(row.item)};
        for (const Cell& cell : row.cells)
            fields.push_back(FieldOf(cell));
        out << CsvLine(fields) << "\r\n";
    }
}

} // namespace

bool WriteTables(const StoredRun& run, const ResultFiles& files, std::size_t& written,
                 std::string& reason)
{
    written = 0;
    const auto fileOf = [&](const std::string& table) {
        return files.OfRun(('.' + table + ".csv").c_str());
    };
    for (const char* known : kKnown)
        if (std::none_of(run.tables.begin(), run.tables.end(),
                         [&](const ResultTable& table) { return table.name == known; }))
            RemoveFile(fileOf(known));
    for (std::size_t i = 1; i < run.tables.size(); ++i) // the first one is that of the states
    {
        const ResultTable& table = run.tables[i];
        if (!IsFileName(table.name))
            continue;
        if (!WriteWhole(
                fileOf(table.name), [&](std::ostream& out) { WriteTable(out, run, table); },
                reason))
            return false;
        ++written;
    }
    return true;
}

} // namespace percova
