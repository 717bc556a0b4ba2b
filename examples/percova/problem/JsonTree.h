/// @file
/// A JSON text as a tree whose every value knows its line.
#pragma once

#include "problem/Faults.h"

#include <string>
#include <vector>

namespace percova
{

struct JsonNode
{
    enum class Kind
    {
        Null,
        Boolean,
        Number,
        Text,
        List,
        Object
    };
    Kind kind = Kind::Null;
    int line = 0;
    double number = 0;
    std::string text;               ///< UTF-8
    std::vector<JsonNode> items;    ///< of a list or an object
    std::vector<std::string> names; ///< of an object: the names of its items
};

/// "a number", "a list" and the like.
const char* Described(JsonNode::Kind kind);

/// Parses the whole of @p text. A duplicate name in one object is a fault.
/// @returns false when @p text is no JSON; the reason is in @p faults
bool ParseJson(const std::string& text, const std::string& file, JsonNode& root, Faults& faults);

} // namespace percova
