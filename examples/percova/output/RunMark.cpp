#include "output/RunMark.h"

#include "output/Output.h"
#include "problem/TextFile.h"

#include <nlohmann/json.hpp>

#include <cstdint>

namespace percova
{
namespace
{
using Json = nlohmann::ordered_json;

/// FNV-1a, 64 bits (Fowler, Noll and Vo).
std::uint64_t Hash(std::uint64_t hash, const std::string& text)
{
    for (const char c : text)
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3u;
    return hash;
}

/// Nothing usable gives null or a discarded value, neither of which has fields.
nlohmann::ordered_json ReadJson(const std::wstring& path)
{
    std::string text, ignored;
    if (!ReadWhole(path, text, ignored))
        return {};
    return nlohmann::json::parse(text, nullptr, false);
}

/// The value of @p key in @p object; null where it has none or is no object.
nlohmann::ordered_json Field(const nlohmann::ordered_json& object, const char* key)
{
    return object.is_object() && object.contains(key) ? object[key] : nlohmann::ordered_json();
}

} // namespace

RunMark::RunMark(const ResultFiles& files, const Problem& problem, const std::string& settings)
    : files_(files), steps_(problem.time ? 1 : problem.steps.size())
{
    if (steps_ == 1 && !problem.time)
        return;
    std::uint64_t hash = Hash(0xcbf29ce484222325u, settings);
    for (const std::wstring& file : {problem.path, problem.mesh})
    {
        std::string text, ignored;
        (void)ReadWhole(file, text, ignored); // it was read before
        hash = Hash(hash, text);
    }
    fingerprint_ = std::to_string(hash);
}

void RunMark::Read(std::size_t nodes, std::vector<std::string>& steps,
                   std::vector<double>& head) const
{
    steps.clear();
    head.clear();
    if (steps_ == 1)
        return;
    const nlohmann::ordered_json mark = ReadJson(files_.OfRun(".mark"));
    const nlohmann::ordered_json last = Field(mark, "mark");
    if (Field(mark, "of") != fingerprint_ || !last.is_number_integer())
        return;
    const auto done = doc::file::mark::MarkStep::CreateFromInt(last);
    const int count = done.AsStepNumber().value; // none for all results
    for (int k = 1; k <= count && std::size_t(k) < steps_; ++k)
    {
        const nlohmann::ordered_json step = ReadJson(files_.OfStep(std::size_t(k), ".json"));
        if (Field(step, "converged") != true)
            break; // it is tried again
        steps.push_back(step.dump());
    }
    if (!steps.empty())
        head = ReadHeads(files_.OfStep(steps.size(), ".heads"), nodes);
}

bool RunMark::Set(const doc::file::mark::MarkStep& mark, std::string& reason) const
{
    if (steps_ == 1)
        return true;
    const nlohmann::json json{{"mark", mark.raw_int()}, {"of", fingerprint_}};
    return WriteWhole(
        files_.OfRun(".mark"), [&](std::ostream& out) { out << json.dump() << '\n'; }, reason);
}

namespace
{
Json JsonOf(const TimeState& state)
{
    Json parts = Json::array();
    for (const PartOfRun& part : state.parts)
        parts.push_back(
            {part.name, part.start, part.taken, part.rejected, part.shortest, part.longest});
    Json regions = Json::array();
    for (const RegionSums& sums : state.regions)
        regions.push_back({sums.in, sums.out, sums.sources, sums.initialStored});
    return {{"time", state.time},
            {"next_length", state.nextLength},
            {"taken", state.taken},
            {"rejected", state.rejected},
            {"in", state.in},
            {"out", state.out},
            {"initial_stored", state.initialStored},
            {"boundaries", state.boundaries},
            {"sections", state.sections},
            {"sources", state.sources},
            {"regions", regions},
            {"parts", parts}};
}

/// Throws nlohmann's exceptions for anything that JsonOf does not write.
TimeState StateOf(const Json& json)
{
    TimeState state;
    json.at("time").get_to(state.time);
    json.at("next_length").get_to(state.nextLength);
    json.at("taken").get_to(state.taken);
    json.at("rejected").get_to(state.rejected);
    json.at("in").get_to(state.in);
    json.at("out").get_to(state.out);
    json.at("initial_stored").get_to(state.initialStored);
    json.at("boundaries").get_to(state.boundaries);
    json.at("sections").get_to(state.sections);
    json.at("sources").get_to(state.sources);
    for (const Json& sums : json.at("regions"))
        state.regions.push_back({sums.at(0), sums.at(1), sums.at(2), sums.at(3)});
    for (const Json& part : json.at("parts"))
        state.parts.push_back(
            {part.at(0), part.at(1), part.at(2), part.at(3), part.at(4), part.at(5)});
    return state;
}

/// The first @p count lines of @p text; nothing when there are fewer.
std::string FirstLines(const std::string& text, std::size_t count)
{
    std::size_t end = 0;
    for (; count > 0; --count)
    {
        end = text.find('\n', end) + 1;
        if (end == 0)
            return {};
    }
    return text.substr(0, end);
}
} // namespace

void RunMark::ReadState(std::size_t nodes, Results& results) const
try
{
    const Json mark = ReadJson(files_.OfRun(".mark"));
    const Json count = Field(mark, "outputs");
    if (Field(mark, "of") != fingerprint_ || !count.is_number_unsigned() || count == 0u)
        return;
    const auto outputs = count.get<std::size_t>();
    TimeState state = StateOf(mark.at("state"));
    state.head = ReadHeads(files_.OfOutput(outputs - 1, ".heads"), nodes);
    std::string history, ignored;
    (void)ReadWhole(files_.OfRun(".history.csv"), history, ignored);
    history = FirstLines(history, state.taken + 3); // two of the header and the initial state
    const Json result = ReadJson(files_.Result());
    std::vector<std::string> earlier{result.at("initial").dump()};
    for (const Json& output : result.at("times"))
        if (earlier.size() < outputs)
            earlier.push_back(output.dump());
    if (state.head.empty() || history.empty() || earlier.size() != outputs)
        return;
    results.state = std::move(state);
    results.earlier = std::move(earlier);
    results.earlierHistory = std::move(history);
}
catch (const nlohmann::json::exception&)
{
    // Not written by this program: the run starts from the beginning.
}

bool RunMark::SetState(std::size_t outputs, const TimeState& state, std::string& reason) const
{
    const Json json{{"outputs", outputs},
                    {"of", fingerprint_},
                    {"state", outputs > 0 ? JsonOf(state) : Json()}};
    const bool written = WriteWhole(
        files_.OfRun(".mark"), [&](std::ostream& out) { out << json.dump() << '\n'; }, reason);
    if (written && outputs > 1)
        RemoveFile(files_.OfOutput(outputs - 2, ".heads"));
    return written;
}

} // namespace percova
