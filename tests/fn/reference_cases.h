// The verification cases that lie beside the example engine, read for the functions' own tests.
#pragma once

#include <nlohmann/json.hpp>

#include <fstream>
#include <string>

inline nlohmann::json ReferenceCase(const std::string& name)
{
    std::ifstream file(KVI_SOURCE_DIR "/examples/percova/cases/" + name);
    return nlohmann::json::parse(file);
}
