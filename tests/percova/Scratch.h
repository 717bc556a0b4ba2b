/// @file
/// Files for a test to read, and the faults that reading them gives.
#pragma once

#include "mesh/Mesh.h"
#include "problem/Faults.h"
#include "problem/Problem.h"
#include "problem/TextFile.h"
#include "support/ReadFile.h"
#include "support/ScratchFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>

namespace percova
{

/// @name Of the tests' own paths
/// @{
inline std::string TextOf(const std::filesystem::path& path)
{
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}
inline std::filesystem::path FilePath(const std::string& text)
{
    return std::u8string(text.begin(), text.end());
}
inline bool ReadWhole(const std::filesystem::path& path, std::string& text, std::string& reason)
{
    return ReadWhole(PathOf(TextOf(path)), text, reason);
}
inline bool ReadProblem(const std::filesystem::path& path, Problem& problem, Faults& faults)
{
    return ReadProblem(PathOf(TextOf(path)), problem, faults);
}
inline bool ReadMesh(const std::filesystem::path& path, Mesh& mesh, Faults& faults,
                     double metres = 1, const NodeJoin& join = {})
{
    return ReadMesh(PathOf(TextOf(path)), mesh, faults, metres, join);
}
/// @}

/// A folder of the running test's own, empty.
inline std::filesystem::path ScratchFolder() { return support::ScratchFolder(); }

inline std::filesystem::path Scratch(const std::string& name, const std::string& text)
{
    const std::filesystem::path path = ScratchFolder() / FilePath(name);
    std::ofstream(path, std::ios::binary) << text;
    return path;
}

inline std::string AllOf(const Faults& faults)
{
    std::string all;
    for (const Fault& fault : faults.List())
        all += Line(fault) + '\n';
    return all;
}

/// @p text with the first @p what in it replaced.
inline std::string With(std::string text, const std::string& what, const std::string& instead)
{
    const std::size_t at = text.find(what);
    EXPECT_NE(at, std::string::npos) << what;
    return at == std::string::npos ? text : text.replace(at, what.size(), instead);
}

/// A mesh in version 2.2 from its lines of nodes and of elements; @p names comes before them.
inline std::string MeshText(const std::string& nodes, const std::string& elements,
                            const std::string& names = "")
{
    const auto counted = [](const std::string& name, const std::string& lines) {
        return '$' + name + '\n' + std::to_string(std::count(lines.begin(), lines.end(), '\n')) +
               '\n' + lines + "$End" + name + '\n';
    };
    return "$MeshFormat\n2.2 0 8\n$EndMeshFormat\n" + names + counted("Nodes", nodes) +
           counted("Elements", elements);
}

inline std::filesystem::path Cases()
{
    return std::filesystem::path(KVI_SOURCE_DIR) / "examples" / "percova" / "cases";
}

} // namespace percova
