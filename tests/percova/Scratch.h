/// @file
/// Files for a test to read, and the faults that reading them gives.
#pragma once

#include "problem/Faults.h"
#include "problem/TextFile.h"
#include "support/ScratchFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace percova
{

/// A folder of the running test's own, empty.
inline std::filesystem::path ScratchFolder() { return support::ScratchFolder(); }

inline std::filesystem::path Scratch(const std::string& name, const std::string& text)
{
    const std::filesystem::path path = ScratchFolder() / PathOf(name);
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

inline std::filesystem::path Cases()
{
    return std::filesystem::path(KVI_SOURCE_DIR) / "examples" / "percova" / "cases";
}

} // namespace percova
