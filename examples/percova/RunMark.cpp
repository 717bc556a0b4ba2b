#include "RunMark.h"

#include "Output.h"
#include "TextFile.h"

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

nlohmann::ordered_json ReadJson(const std::filesystem::path& path)
{
    std::string text, ignored;
    if (!ReadWhole(path, text, ignored))
        return {};
    return nlohmann::json::parse(text, nullptr, false);
}

} // namespace

RunMark::RunMark(const std::filesystem::path& folder, const Problem& problem,
                 const std::string& settings)
    : folder_(folder), path_(folder / PathOf(BaseName(problem) + ".mark")),
      steps_(problem.steps.size())
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

std::vector<std::string> RunMark::WholeSteps() const
{
    if (steps_ == 1)
        return {};
    const nlohmann::ordered_json mark = ReadJson(path_);
    if (!mark.is_object() || mark.value("of", std::string()) != fingerprint_ ||
        !mark.contains("mark"))
        return {};
    const auto done = doc::file::mark::MarkStep::CreateFromInt(mark.value("mark", -1));
    const std::int32_t count = done.AsStepNumber().value; // none for all results
    const nlohmann::ordered_json results = ReadJson(folder_ / "result.json");
    if (count <= 0 || std::size_t(count) >= steps_ || !results.is_object() ||
        !results.contains("steps") || results["steps"].size() < std::size_t(count))
        return {};
    std::vector<std::string> steps;
    // A step that did not converge is tried again.
    for (std::size_t i = 0; i < std::size_t(count) && results["steps"][i].value("converged", false);
         ++i)
        steps.push_back(results["steps"][i].dump());
    return steps;
}

bool RunMark::Set(const doc::file::mark::MarkStep& mark, std::string& reason) const
{
    if (steps_ == 1)
        return true;
    const nlohmann::json json{{"mark", mark.raw_int()}, {"of", fingerprint_}};
    return WriteWhole(
        path_, [&](std::ostream& out) { out << json.dump() << '\n'; }, reason);
}

} // namespace percova
