#include "output/report/ReportTables.h"

#include "problem/NumberText.h"
#include "problem/Shown.h"
#include "problem/TextFile.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace percova::report
{
namespace
{

constexpr std::size_t kMostStates = 40; // in one table
constexpr std::size_t kMostRows = 400;  // of one table; more are in its CSV file

/// Headings of known tables, in the order of the report.
constexpr std::array<std::pair<std::string_view, const char*>, 11> kTitles{{
    {"boundaries", "Flows through boundaries"},
    {"sources", "Sources and sinks"},
    {"sections", "Flows across sections"},
    {"regions", "Balance by region"},
    {"seepage_faces", "Seepage faces"},
    {"extremes", "Extreme values at nodes"},
    {"probes", "Probes"},
    {"exit_gradients", "Exit gradients"},
    {"uplift", "Uplift"},
    {"freeboard", "Freeboard of the phreatic line"},
    {"surface", "Lines of zero pressure"},
}};

/// Single values that describe the solution and not the water.
constexpr std::array<std::string_view, 6> kSolution{"converged",   "iterations",  "residual",
                                                    "step_length", "steps_taken", "steps_rejected"};

std::string TitleOf(const std::string& table)
{
    for (const auto& [name, title] : kTitles)
        if (name == table)
            return title;
    std::string words = WordsOf(table);
    if (!words.empty() && words[0] >= 'a' && words[0] <= 'z')
        words[0] = char(words[0] - 'a' + 'A');
    return words;
}

std::string UnitText(const StoredRun& run, const std::string& key)
{
    const std::string unit = run.UnitOf(key);
    return unit.empty() ? unit : '[' + unit + ']';
}

/// One line for each state with the ends, the highest and the lowest point of each line.
ResultTable EndsOf(const ResultTable& surface)
{
    ResultTable ends{surface.name, {}, {}};
    const ResultTable::Row* before = nullptr;
    double lowest = 0, highest = 0;
    for (const ResultTable::Row& row : surface.rows)
    {
        if (row.cells.size() < 2)
            continue;
        const Cell &x = row.cells[0], &y = row.cells[1];
        if (before == nullptr || before->state != row.state || before->item != row.item)
        {
            ends.AddRow(row.state, "line " + row.item);
            ends.Set("from_x", x);
            ends.Set("from_y", y);
            lowest = highest = y.number;
        }
        lowest = std::min(lowest, y.number);
        highest = std::max(highest, y.number);
        ends.Set("to_x", x);
        ends.Set("to_y", y);
        ends.Set("lowest_y", {{}, lowest});
        ends.Set("highest_y", {{}, highest});
        before = &row;
    }
    return ends;
}

/// The names of the items in their first order.
std::vector<std::string> ItemsOf(const ResultTable& table)
{
    std::vector<std::string> items;
    for (const ResultTable::Row& row : table.rows)
        if (std::find(items.begin(), items.end(), row.item) == items.end())
            items.push_back(row.item);
    return items;
}

/// Items are named by the user, but those of the extreme values are fields.
std::string ItemText(const ResultTable& table, const std::string& item)
{
    return table.name == "extremes" ? WordsOf(item) : item;
}

Cell StateCell(const StoredRun& run, std::size_t state) { return {run.states[state].name}; }

PageTable EmptyTable(const StoredRun& run, const ResultTable& table, const std::string& label,
                     const std::string& labelUnit)
{
    PageTable on;
    on.heads = {label};
    on.units = {labelUnit};
    for (const std::string& key : table.columns)
    {
        const bool isPlace = key.starts_with("from_") || key.starts_with("to_") ||
                             key.starts_with("lowest_") || key.starts_with("highest_");
        on.heads.push_back(WordsOf(key));
        on.units.push_back(UnitText(run, isPlace ? "x" : key));
    }
    return on;
}

std::vector<Cell> Behind(Cell label, const std::vector<Cell>& cells)
{
    std::vector<Cell> row{std::move(label)};
    row.insert(row.end(), cells.begin(), cells.end());
    return row;
}

/// A single state: one row for each item. Several: a group of rows for each item.
void WriteTable(Page& page, const StoredRun& run, const ResultTable& table)
{
    page.Heading(TitleOf(table.name));
    const std::vector<std::size_t> states = Chosen(run.states.size(), kMostStates);
    const auto isShown = [&](std::size_t state) {
        return std::binary_search(states.begin(), states.end(), state);
    };
    const auto count =
        std::size_t(std::count_if(table.rows.begin(), table.rows.end(),
                                  [&](const ResultTable::Row& row) { return isShown(row.state); }));
    const std::string file = TextOf(NameOf(run.FileOfRun(('.' + table.name + ".csv").c_str())));
    if (count > kMostRows)
        return page.Paragraph(std::to_string(table.rows.size()) + " rows, see " + file + '.',
                              "sub");
    const bool isSingle = run.states.size() == 1;
    const std::string time = '[' + run.units.time + ']';
    PageTable on = isSingle ? EmptyTable(run, table, "name", "")
                            : EmptyTable(run, table, run.isInTime ? "time" : "step",
                                         run.isInTime ? time : std::string());
    if (isSingle)
    {
        PageTable::Group& group = on.groups.emplace_back();
        for (const ResultTable::Row& row : table.rows)
            group.rows.push_back(Behind({ItemText(table, row.item)}, row.cells));
    }
    else
        for (const std::string& item : ItemsOf(table))
        {
            PageTable::Group& group =
                on.groups.emplace_back(PageTable::Group{ItemText(table, item), {}});
            for (const ResultTable::Row& row : table.rows)
                if (row.item == item && isShown(row.state))
                    group.rows.push_back(Behind(StateCell(run, row.state), row.cells));
        }
    page.Table(on);
    if (states.size() < run.states.size())
        page.Paragraph(std::to_string(states.size()) + " of " + std::to_string(run.states.size()) +
                           " outputs; all of them are in " + file + '.',
                       "sub");
}

/// Single values of the states, those of the solution or the others.
void WriteStates(Page& page, const StoredRun& run, bool ofSolution)
{
    const ResultTable& table = run.tables.front();
    std::vector<std::size_t> columns;
    for (std::size_t k = 0; k < table.columns.size(); ++k)
    {
        const std::string& key = table.columns[k];
        const bool isSolution =
            std::find(kSolution.begin(), kSolution.end(), key) != kSolution.end();
        if (key != "step" && key != "time" && isSolution == ofSolution)
            columns.push_back(k);
    }
    if (columns.empty() || table.rows.empty())
        return;
    page.Heading(ofSolution ? "Course of the solution" : "Water balance");
    PageTable on;
    if (run.states.size() == 1)
    {
        on.heads = {"quantity", "value", "unit"};
        PageTable::Group& group = on.groups.emplace_back();
        for (const std::size_t k : columns)
            group.rows.push_back({{WordsOf(table.columns[k])},
                                  table.rows.front().cells[k],
                                  {run.UnitOf(table.columns[k])}});
        return page.Table(on);
    }
    on.heads = {run.isInTime ? "time" : "step"};
    on.units = {run.isInTime ? '[' + run.units.time + ']' : std::string()};
    for (const std::size_t k : columns)
    {
        on.heads.push_back(WordsOf(table.columns[k]));
        on.units.push_back(UnitText(run, table.columns[k]));
    }
    PageTable::Group& group = on.groups.emplace_back();
    for (const std::size_t state : Chosen(run.states.size(), kMostStates))
    {
        std::vector<Cell>& row = group.rows.emplace_back();
        row.push_back(StateCell(run, state));
        for (const std::size_t k : columns)
            row.push_back(table.rows[state].cells[k]);
    }
    page.Table(on);
}

} // namespace

std::string WordsOf(std::string key)
{
    std::replace(key.begin(), key.end(), '_', ' ');
    return key;
}

std::vector<std::size_t> Chosen(std::size_t count, std::size_t most)
{
    std::vector<std::size_t> chosen;
    const std::size_t size = std::min(count, most);
    for (std::size_t i = 0; i < size; ++i)
        chosen.push_back(size < 2 ? count - 1 : i * (count - 1) / (size - 1));
    return chosen;
}

void WriteResults(Page& page, const StoredRun& run)
{
    WriteStates(page, run, false);
    WriteStates(page, run, true);
    const auto find = [&](std::string_view name) {
        return std::find_if(run.tables.begin() + 1, run.tables.end(),
                            [&](const ResultTable& table) { return table.name == name; });
    };
    for (const auto& [name, title] : kTitles)
        if (const auto table = find(name); table != run.tables.end())
            WriteTable(page, run, name == "surface" ? EndsOf(*table) : *table);
    for (std::size_t i = 1; i < run.tables.size(); ++i)
    {
        const std::string& name = run.tables[i].name;
        if (std::none_of(kTitles.begin(), kTitles.end(),
                         [&](const auto& title) { return title.first == name; }))
            WriteTable(page, run, run.tables[i]);
    }
}

} // namespace percova::report
