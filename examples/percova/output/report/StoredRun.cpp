#include "output/report/StoredRun.h"

#include "problem/NumberText.h"
#include "problem/TextFile.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>
#include <utility>

namespace percova
{
namespace
{

using Json = nlohmann::ordered_json;

constexpr std::size_t kDeepest = 64;      ///< lists and objects inside each other
constexpr std::size_t kMostTables = 60;   ///< of a run; more are left out
constexpr std::size_t kMostColumns = 100; ///< of a table; more are left out

/// Whether lists and objects of a JSON text are too deep inside each other.
bool IsTooDeep(std::string_view text)
{
    std::size_t depth = 0;
    bool isQuoted = false;
    for (std::size_t i = 0; i < text.size() && depth <= kDeepest; ++i)
    {
        const char c = text[i];
        if (isQuoted && c == '\\')
            ++i;
        else if (c == '"')
            isQuoted = !isQuoted;
        else if (!isQuoted && (c == '{' || c == '['))
            ++depth;
        else if (!isQuoted && (c == '}' || c == ']') && depth > 0)
            --depth;
    }
    return depth > kDeepest;
}

/// The value of @p key; null where there is none.
const Json& At(const Json& object, const char* key)
{
    static const Json none;
    const auto found = object.is_object() ? object.find(key) : object.end();
    return found == object.end() ? none : *found;
}

std::string TextAt(const Json& object, const char* key)
{
    const Json& value = At(object, key);
    return value.is_string() ? value.get<std::string>() : std::string();
}

std::vector<std::string> TextsAt(const Json& object, const char* key)
{
    std::vector<std::string> texts;
    for (const Json& value : At(object, key))
        if (value.is_string())
            texts.push_back(value.get<std::string>());
    return texts;
}

bool IsScalar(const Json& value) { return !value.is_structured(); }

bool IsPair(const Json& value)
{
    const auto isNumber = [](const Json& one) { return one.is_number() || one.is_null(); };
    return value.is_array() && value.size() == 2 && isNumber(value[0]) && isNumber(value[1]);
}

/// @param all  whether the members of a list or an object are of that kind
template <class Is>
bool IsListOf(const Json& value, Is all)
{
    return value.is_structured() && !value.empty() && std::all_of(value.begin(), value.end(), all);
}

bool IsObject(const Json& value) { return value.is_object(); }
bool IsLine(const Json& value) { return IsListOf(value, IsPair); }

Cell CellOf(const Json& value)
{
    if (value.is_number())
        return {{}, value.get<double>()};
    if (value.is_boolean())
        return {value.get<bool>() ? "yes" : "no"};
    return {value.is_string() ? value.get<std::string>() : std::string()};
}

/// Collects the tables of a run, state by state.
class TableCollector
{
public:
    explicit TableCollector(std::vector<ResultTable>& tables) : tables_(tables)
    {
        tables_.push_back({"states", {}, {}});
    }

    void AddState(std::size_t state, const Json& json)
    {
        tables_[0].AddRow(state, {});
        for (const auto& [key, value] : json.items())
            if (key == "name" || key == "trouble" || key == "warnings")
                continue; // in RunState
            else if (IsScalar(value))
                tables_[0].Set(key, CellOf(value));
            else
                AddMember(state, key, value);
    }

private:
    void AddMember(std::size_t state, const std::string& key, const Json& value)
    {
        if (value.is_array() && IsListOf(value, IsLine))
            AddLines(state, key, value);
        else if (value.is_array() && IsListOf(value, IsObject))
            for (const Json& item : value)
                AddItem(state, key, TextAt(item, "name"), item);
        else if (value.is_object() && IsListOf(value, IsObject))
            for (const auto& [name, item] : value.items())
                AddItem(state, key, name, item);
        else if (value.is_object() && !value.empty())
            AddItem(state, key, {}, value);
    }

    /// Lists of objects inside the item become tables of their own.
    void AddItem(std::size_t state, const std::string& table, const std::string& name,
                 const Json& item)
    {
        ResultTable& own = Table(table);
        own.AddRow(state, name);
        for (const auto& [key, value] : item.items())
            if (IsPair(value))
            {
                own.Set(key + "_x", CellOf(value[0]));
                own.Set(key + "_y", CellOf(value[1]));
            }
            else if (IsScalar(value) && key != "name")
                own.Set(key, CellOf(value));
        for (const auto& [key, value] : item.items())
            if (value.is_array() && IsListOf(value, IsObject))
                for (const Json& inner : value)
                    AddScalars(state, table + '_' + key, name, inner);
    }

    void AddScalars(std::size_t state, const std::string& table, const std::string& name,
                    const Json& item)
    {
        ResultTable& own = Table(table);
        own.AddRow(state, name);
        for (const auto& [key, value] : item.items())
            if (IsScalar(value))
                own.Set(key, CellOf(value));
    }

    void AddLines(std::size_t state, const std::string& key, const Json& lines)
    {
        ResultTable& own = Table(key);
        for (std::size_t i = 0; i < lines.size(); ++i)
            for (const Json& point : lines[i])
            {
                own.AddRow(state, std::to_string(i + 1));
                own.Set("x", CellOf(point[0]));
                own.Set("y", CellOf(point[1]));
            }
    }

    ResultTable& Table(const std::string& name)
    {
        const auto found = std::find_if(tables_.begin(), tables_.end(),
                                        [&](const ResultTable& one) { return one.name == name; });
        if (found != tables_.end())
            return *found;
        if (tables_.size() < kMostTables)
            return tables_.emplace_back(ResultTable{name, {}, {}});
        return surplus_ = {};
    }

    std::vector<ResultTable>& tables_;
    ResultTable surplus_; ///< takes what is left out
};

/// Drops a column without values whose vector has columns of its own: it was null somewhere.
void DropNullVectors(ResultTable& table)
{
    for (std::size_t k = table.columns.size(); k-- > 0;)
    {
        const std::string& key = table.columns[k];
        if (std::find(table.columns.begin(), table.columns.end(), key + "_x") ==
            table.columns.end())
            continue;
        table.columns.erase(table.columns.begin() + std::ptrdiff_t(k));
        for (ResultTable::Row& row : table.rows)
            if (k < row.cells.size())
                row.cells.erase(row.cells.begin() + std::ptrdiff_t(k));
    }
    for (ResultTable::Row& row : table.rows)
        row.cells.resize(table.columns.size());
}

void TakeStates(const Json& json, StoredRun& run)
{
    std::vector<const Json*> states;
    if (run.isInTime && At(json, "initial").is_object())
        states.push_back(&At(json, "initial"));
    for (const Json& state : At(json, run.isInTime ? "times" : "steps"))
        if (state.is_object())
            states.push_back(&state);
    TableCollector collector(run.tables);
    for (const Json* state : states)
    {
        const std::string name = TextAt(*state, "name");
        const Json& time = At(*state, "time");
        const bool isTime = run.isInTime && time.is_number();
        run.states.push_back({isTime ? Exact(time.get<double>()) : name,
                              At(*state, "converged") == true, TextAt(*state, "trouble"),
                              TextsAt(*state, "warnings")});
        collector.AddState(run.states.size() - 1, *state);
    }
    for (ResultTable& table : run.tables)
        DropNullVectors(table);
}

} // namespace

ResultTable::Row& ResultTable::AddRow(std::size_t state, const std::string& item)
{
    return rows.emplace_back(Row{state, item, std::vector<Cell>(columns.size())});
}

void ResultTable::Set(const std::string& key, Cell cell)
{
    const auto found = std::find(columns.begin(), columns.end(), key);
    const auto index = std::size_t(found - columns.begin());
    if (index == kMostColumns)
        return;
    if (found == columns.end())
        columns.push_back(key);
    std::vector<Cell>& cells = rows.back().cells;
    cells.resize(columns.size());
    cells[index] = std::move(cell);
}

std::string StoredRun::UnitOf(const std::string& key) const
{
    const std::string flow = units.length + "3/" + units.time + " per " + units.length;
    const std::string volume = units.length + "3 per " + units.length;
    const std::string speed = units.length + '/' + units.time;
    const std::string force = units.pressure == "kPa" && units.length == "m"
                                  ? "kN per m"
                                  : units.pressure + ' ' + units.length;
    const std::pair<std::string_view, std::string> rows[] = {
        {"x", units.length},
        {"y", units.length},
        {"at", units.length},
        {"exit", units.length},
        {"head", units.length},
        {"pressure_head", units.length},
        {"ponded_length", units.length},
        {"dried_length", units.length},
        {"distance", units.length},
        {"ground", units.length},
        {"least_at", units.length},
        {"greatest_at", units.length},
        {"pressure", units.pressure},
        {"along", units.length},
        {"factor_at", units.length},
        {"suction_length", units.length},
        {"ponding", units.length},
        {"least_pressure_head", units.length},
        {"line", units.length},
        {"polygon", units.length},
        {"flux", speed},
        {"k_sat", speed},
        {"m_v", "1/" + units.pressure},
        {"gamma_w", "kN/m3"},
        {"gamma_sat", "kN/m3"},
        {"angle", "degrees"},
        {"force", force},
        {"vertical", force},
        {"sources", flow},
        {"cumulative_sources", volume},
        {"flow", flow},
        {"flow_in", flow},
        {"flow_out", flow},
        {"flow_integrated", flow},
        {"flow_in_integrated", flow},
        {"flow_out_integrated", flow},
        {"cumulative", volume},
        {"cumulative_in", volume},
        {"cumulative_out", volume},
        {"stored_water", volume},
        {"stored_change", volume},
        {"time", units.time},
        {"step_length", units.time},
        {"shortest_step", units.time},
        {"longest_step", units.time},
        {"start", units.time},
    };
    std::string_view plain = key;
    if (plain.ends_with("_x") || plain.ends_with("_y"))
        plain.remove_suffix(2);
    for (const auto& [name, unit] : rows)
        if (plain == name)
            return unit;
    return {};
}

ResultFiles StoredRun::FilesIn(const std::wstring& where) const
{
    Problem problem;
    problem.path = PathOf(base + ".problem.json");
    if (isInTime)
        problem.time.emplace();
    problem.steps.resize(stepsOfProblem);
    return ResultFiles(where, problem);
}

std::wstring StoredRun::FileOfRun(const char* ending) const
{
    return FilesIn(folder).OfRun(ending);
}

std::wstring StoredRun::FileOfState(std::size_t state, const char* ending) const
{
    return FilesIn(folder).OfState(state, ending);
}

bool ReadStoredRun(const std::wstring& folder, StoredRun& run, std::string& reason)
{
    constexpr std::wstring_view kResult = L"result.json";
    std::error_code ignored; // a folder that is not there has no result.json either
    const bool isFile = NameOf(folder) == kResult &&
                        !std::filesystem::is_directory(sys::file::NativePath(folder), ignored);
    std::wstring path = sys::file::GetAbsolutePath(folder);
    if (!isFile)
        path.append(path.ends_with(L'\\') ? L"" : L"\\").append(kResult);
    std::string text;
    if (!ReadWhole(path, text, reason))
    {
        reason = TextOf(path) + ' ' + reason;
        return false;
    }
    if (TakeStoredRun(FolderOf(path), IsTooDeep(text) ? Json() : Json::parse(text, nullptr, false),
                      run))
        return true;
    reason = TextOf(path) + " is no result of percova";
    return false;
}

bool TakeStoredRun(const std::wstring& folder, Json json, StoredRun& run)
{
    run = {};
    run.folder = folder;
    const std::string collection = TextAt(json, "collection");
    if (!collection.ends_with(".pvd") || !At(json, "steps").is_array())
        return false;
    run.base = collection.substr(0, collection.size() - 4);
    run.id = TextAt(json, "problem");
    run.title = TextAt(json, "title");
    run.date = TextAt(json, "date");
    run.program = TextAt(json, "program");
    run.solver = TextAt(json, "solver");
    run.stopped = TextAt(json, "stopped");
    run.command = TextsAt(json, "command");
    run.warnings = TextsAt(json, "warnings");
    for (const auto& [key, unit] :
         {std::pair("length", &run.units.length), std::pair("pressure", &run.units.pressure),
          std::pair("time", &run.units.time)})
        if (const std::string name = TextAt(At(json, "units"), key); !name.empty())
            *unit = name;
    run.isInTime = At(json, "times").is_array();
    run.stepsOfProblem =
        std::max<std::size_t>({1, At(json, "steps").size(), At(At(json, "input"), "steps").size()});
    TakeStates(json, run);
    run.json = std::make_shared<const Json>(std::move(json));
    return true;
}

} // namespace percova
