// The input in a report, as it was read.
#include "output/report/ReportTables.h"
#include "problem/NumberText.h"
#include "problem/Shown.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <string_view>
#include <utility>

namespace percova::report
{
namespace
{

using Json = nlohmann::ordered_json;

constexpr std::size_t kLongest = 160; // bytes of a list or an object in one cell

/// A value in few words: "(0, 0) (35, 0)" for points, "rule power, power 4" for an object.
std::string Brief(const Json& value)
{
    if (value.is_string())
        return value.get<std::string>();
    if (value.is_boolean())
        return value.get<bool>() ? "yes" : "no";
    if (value.is_number())
        return Exact(value.get<double>());
    const bool isList = value.is_array();
    const bool isOfLists = isList && !value.empty() && value.front().is_array();
    std::string text;
    for (const auto& [key, item] : value.items())
    {
        if (text.size() > kLongest)
            break;
        text += text.empty() ? "" : isOfLists ? " " : ", ";
        text += isList ? "" : WordsOf(key) + ' ';
        text += item.is_structured() ? '(' + Brief(item) + ')' : Brief(item);
    }
    return Shortened(text, kLongest);
}

Cell CellOf(const Json& value)
{
    if (value.is_number())
        return {{}, value.get<double>()};
    return {Brief(value)};
}

bool IsTable(const Json& value)
{
    return value.is_array() && !value.empty() &&
           std::all_of(value.begin(), value.end(),
                       [](const Json& item) { return item.is_object(); });
}

/// The columns are the keys of all objects of a list, the name first.
PageTable TableOf(const StoredRun& run, const Json& list)
{
    std::vector<std::string> keys{"name"};
    for (const Json& item : list)
        for (const auto& [key, value] : item.items())
            if (std::find(keys.begin(), keys.end(), key) == keys.end())
                keys.push_back(key);
    PageTable table;
    table.digits = 0;
    for (const std::string& key : keys)
    {
        const std::string unit = run.UnitOf(key);
        table.heads.push_back(WordsOf(key));
        table.units.push_back(unit.empty() ? unit : '[' + unit + ']');
    }
    PageTable::Group& group = table.groups.emplace_back();
    for (const Json& item : list)
    {
        std::vector<Cell>& row = group.rows.emplace_back();
        for (const std::string& key : keys)
            row.push_back(item.contains(key) ? CellOf(item[key]) : Cell());
    }
    return table;
}

const char* TitleOf(std::string_view key)
{
    constexpr std::pair<std::string_view, const char*> kTitles[] = {
        {"materials", "Soils"},
        {"regions", "Regions"},
        {"boundaries", "Boundary conditions"},
        {"sources", "Sources and sinks"},
        {"steps", "Steps"},
        {"sections", "Sections"},
        {"uplift", "Lines of uplift"}};
    for (const auto& [name, title] : kTitles)
        if (key == name)
            return title;
    return nullptr;
}

} // namespace

void WriteInput(Page& page, const StoredRun& run)
{
    const auto found = run.json->find("input");
    if (found == run.json->end() || !found->is_object())
        return page.Paragraph("The result does not hold its input.", "bad");
    PageTable general;
    general.digits = 0;
    general.heads = {"key", "value", "unit"};
    PageTable::Group& group = general.groups.emplace_back();
    for (const auto& [key, value] : found->items())
        if (!IsTable(value) && key != "title" && !(value.is_structured() && value.empty()))
            group.rows.push_back({{WordsOf(key)}, {Brief(value)}, {run.UnitOf(key)}});
    page.Table(general);
    for (const auto& [key, value] : found->items())
    {
        if (!IsTable(value) || key == "probes") // those are among the results
            continue;
        const char* const title = TitleOf(key);
        page.Heading(title != nullptr ? title : WordsOf(key));
        constexpr std::size_t kMostRows = 400;
        if (value.size() > kMostRows)
            page.Paragraph(std::to_string(value.size()) + " entries, see the problem file.", "sub");
        else
            page.Table(TableOf(run, value));
    }
}

} // namespace percova::report
