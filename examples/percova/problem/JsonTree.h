/// @file
/// A JSON text as a tree whose every value knows its line.
#pragma once

#include "problem/Faults.h"

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace percova
{

/// A list that takes one pointer while it is empty, as most lists of a tree are.
template <class T>
class SmallList
{
public:
    bool empty() const { return size() == 0; }
    std::size_t size() const { return list_ ? list_->size() : 0; }
    const T* begin() const { return list_ ? list_->data() : nullptr; }
    const T* end() const { return begin() + size(); }
    const T& operator[](std::size_t i) const { return (*list_)[i]; }
    T& Add(T item)
    {
        if (!list_)
            list_ = std::make_unique<std::vector<T>>();
        return list_->emplace_back(std::move(item));
    }

private:
    std::unique_ptr<std::vector<T>> list_;
};

/// Many of them can come from a small file, so a node is small too: 32 bytes.
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
    SmallList<JsonNode> items;    ///< of a list or an object
    SmallList<std::string> names; ///< of an object: the names of its items; of a text: itself

    const std::string& Text() const { return names[0]; } ///< UTF-8; only of a text
};

/// "a number", "a list" and the like.
const char* Described(JsonNode::Kind kind);

constexpr std::size_t kMostValues = 2'000'000; ///< of one file

/// Parses the whole of @p text. A name that is in one object twice is a fault, as are more than
/// kMostValues values.
/// @returns false when @p text is no JSON; the reason is in @p faults
bool ParseJson(const std::string& text, const std::string& file, JsonNode& root, Faults& faults);

} // namespace percova
