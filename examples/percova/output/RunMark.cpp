#include "output/RunMark.h"

#include "output/Output.h"
#include "problem/TextFile.h"

#include <nlohmann/json.hpp>

#include <cstdint>

namespace percova
{
namespace
{

/// FNV-1a, 64 bits (Fowler, Noll and Vo).
std::uint64_t Hash(std::uint64_t hash, const std::string& text)
{
    for (const char c : text)
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3u;
    return hash;
}

/// Nothing usable gives null or a discarded value, neither of which has fields.
nlohmann::ordered_json ReadJson(const std::filesystem::path& path)
{
    std::string text, ignored;
    if (!ReadWhole(path, text, ignored))
        return {};
    return nlohmann::json::parse(text, nullptr, false);
}

/// What @p object has as @p key; null where it has none or is no object.
nlohmann::ordered_json Field(const nlohmann::ordered_json& object, const char* key)
{
    return object.is_object() && object.contains(key) ? object[key] : nlohmann::ordered_json();
}

} // namespace

RunMark::RunMark(const ResultFiles& files, const Problem& problem, const std::string& settings)
    : files_(files), steps_(problem.steps.size())
{
    if (steps_ == 1)
        return;
    std::uint64_t hash = Hash(0xcbf29ce484222325u, settings);
    for (const std::filesystem::path& file : {problem.path, problem.mesh})
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

} // namespace percova
