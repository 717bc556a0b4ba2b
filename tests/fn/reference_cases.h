// The verification cases of the example engine, read for the tests of the functions.
#pragma once

#include <nlohmann/json.hpp>

#include <fstream>
#include <string>

inline nlohmann::json ReferenceCase(const std::string& name)
{
    std::ifstream file(KVI_SOURCE_DIR "/examples/percova/cases/" + name);
    return nlohmann::json::parse(file);
}
