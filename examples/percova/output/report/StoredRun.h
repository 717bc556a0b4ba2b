/// @file
/// An earlier run, read back from its result.json.
#pragma once

#include "output/files/ResultFiles.h"
#include "problem/Problem.h"

#include <nlohmann/json_fwd.hpp>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace percova
{

/// A value in a table: a text, or else a number, which may be missing.
struct Cell
{
    std::string text;
    double number = MissingValue<double>();

    bool IsEmpty() const { return text.empty() && IsMissingValue(number); }
};

/// Values of equal kind: those of all probes, of all sections and the like, in every state.
struct ResultTable
{
    struct Row
    {
        std::size_t state; ///< index into StoredRun::states
        std::string item;  ///< name of the probe, the section ...; may be empty
        std::vector<Cell> cells;
    };
    std::string name;                 ///< the key in result.json
    std::vector<std::string> columns; ///< keys; of a vector two, with "_x" and "_y" at the end
    std::vector<Row> rows;            ///< by state

    /// Adds a row of cells that are empty. @returns it
    Row& AddRow(std::size_t state, const std::string& item);
    /// Sets the cell of column @p key in the last row, adding the column where it is new.
    void Set(const std::string& key, Cell cell);
};

/// A steady step, or an output of a transient run, the initial state first.
struct RunState
{
    std::string name; ///< the time as text, of a transient run
    bool isConverged = false;
    std::string trouble;
    std::vector<std::string> warnings;
};

/// The results of an earlier run. They are only as good as the file: whatever it holds, reading
/// ends, and every text may be anything.
struct StoredRun
{
    std::wstring folder; ///< absolute, with a separator at the end
    std::string base;    ///< base name of its files
    std::string id, title, date, program, solver, stopped;
    std::vector<std::string> command, warnings;
    bool isInTime = false;
    std::size_t stepsOfProblem = 1; ///< that a steady run should have
    Units units;                    ///< only their names
    std::vector<RunState> states;
    std::vector<ResultTable> tables; ///< the first one holds the single values of each state
    std::shared_ptr<const nlohmann::ordered_json> json; ///< the whole file

    /// Unit of the values under @p key of a table; empty for a pure number and for an unknown key.
    std::string UnitOf(const std::string& key) const;
    /// The names of the run's files, as they are in @p where.
    ResultFiles FilesIn(const std::wstring& where) const;
    /// A file of the run, or of state @p state, in the run's folder.
    /// @{
    std::wstring FileOfRun(const char* ending) const;
    std::wstring FileOfState(std::size_t state, const char* ending) const;
    /// @}
};

/// Reads result.json in @p folder, which may also be the path of that file.
/// @returns false with @p reason, the file's name in it, when there is no result of percova
bool ReadStoredRun(const std::wstring& folder, StoredRun& run, std::string& reason);
/// The same of a result that is in memory, see ResultJson.
/// @returns false when it is no result of percova
bool TakeStoredRun(const std::wstring& folder, nlohmann::ordered_json json, StoredRun& run);

/// Writes the tables of a run as CSV files, NAME.probes.csv and the like: a header with names and
/// units, then one row for each item and state. The files of tables that the run has not are
/// removed.
/// @param[out] written  how many there are
/// @returns false with @p reason, the file's name in it, when one could not be written
bool WriteTables(const StoredRun& run, const ResultFiles& files, std::size_t& written,
                 std::string& reason);

} // namespace percova
