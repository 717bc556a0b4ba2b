#include "problem/JsonReader.h"

#include "problem/Shown.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace percova
{
namespace
{

std::string Item(const std::string& path, std::size_t index)
{
    return path + '[' + std::to_string(index) + ']';
}

} // namespace

JsonReader::JsonReader(const JsonNode& node, std::string path, const std::string& file,
                       Faults& faults)
    : node_(&node), path_(std::move(path)), file_(&file), faults_(&faults),
      used_(node.names.size(), false)
{
}

std::string JsonReader::PathOf(std::string_view key) const
{
    return path_.empty() ? Shortened(key) : path_ + '.' + Shortened(key);
}

Place JsonReader::PlaceOf(const char* key) const
{
    const auto found = std::find(node_->names.begin(), node_->names.end(), key);
    const auto index = static_cast<std::size_t>(found - node_->names.begin());
    return {PathOf(key), index < node_->items.size() ? node_->items[index].line : node_->line};
}

void JsonReader::Error(const char* key, const std::string& text) const
{
    faults_->Error(*file_, PlaceOf(key), text);
}

void JsonReader::Warn(const char* key, const std::string& text) const
{
    faults_->Warning(*file_, PlaceOf(key), text);
}

const JsonNode* JsonReader::Find(const char* key)
{
    for (std::size_t i = 0; i < node_->names.size(); ++i)
        if (node_->names[i] == key)
        {
            used_[i] = true;
            return &node_->items[i];
        }
    return nullptr;
}

void JsonReader::Ignore(std::initializer_list<const char*> keys)
{
    for (const char* key : keys)
        (void)Find(key); // marks it
}

void JsonReader::WarnOfUnknown()
{
    const auto isFirst = [&](std::size_t i) { // a doubled key is reported as that
        return std::find(node_->names.begin(), node_->names.end(), node_->names[i]) ==
               node_->names.begin() + std::ptrdiff_t(i);
    };
    for (std::size_t i = 0; i < used_.size(); ++i)
        if (!used_[i] && !node_->names[i].starts_with("note") && isFirst(i))
            faults_->Warning(*file_, {PathOf(node_->names[i]), node_->items[i].line},
                             "is not a known key and is left aside");
}

const JsonNode* JsonReader::Typed(const char* key, JsonNode::Kind kind, Need need)
{
    const JsonNode* found = Find(key);
    if (found == nullptr)
    {
        if (need == Need::Required)
            Error(key, std::string("is missing; it should be ") + Described(kind));
        return nullptr;
    }
    if (found->kind == kind)
        return found;
    Error(key, std::string("should be ") + Described(kind) + ", not " + Described(found->kind));
    return nullptr;
}

bool JsonReader::GetText(const char* key, std::string& value, Need need)
{
    const JsonNode* found = Typed(key, JsonNode::Kind::Text, need);
    if (found == nullptr)
        return false;
    value = found->Text();
    if (!value.empty() || need == Need::Optional)
        return true;
    Error(key, "should not be empty");
    return false;
}

bool JsonReader::GetNumber(const char* key, double& value, Need need)
{
    const JsonNode* found = Typed(key, JsonNode::Kind::Number, need);
    if (found != nullptr)
        value = found->number;
    return found != nullptr;
}

bool JsonReader::GetCount(const char* key, int& value)
{
    const JsonNode* found = Typed(key, JsonNode::Kind::Number, Need::Optional);
    if (found == nullptr)
        return false;
    if (found->number >= 1 && found->number <= 1e9 && found->number == std::floor(found->number))
    {
        value = static_cast<int>(found->number);
        return true;
    }
    Error(key, "should be a whole number from 1 to 1000000000");
    return false;
}

bool JsonReader::ReadPoint(const JsonNode& node, const std::string& path, Point& value) const
{
    if (node.kind == JsonNode::Kind::List && node.items.size() == 2 &&
        node.items[0].kind == JsonNode::Kind::Number &&
        node.items[1].kind == JsonNode::Kind::Number)
    {
        value = {node.items[0].number, node.items[1].number};
        return true;
    }
    faults_->Error(*file_, {path, node.line}, "should be two numbers, [x, y]");
    return false;
}

bool JsonReader::IsTooLong(const char* key, std::size_t size, std::size_t most) const
{
    if (size > most)
        Error(key, "has " + std::to_string(size) + " entries, more than the " +
                       std::to_string(most) + " that are allowed");
    return size > most;
}

bool JsonReader::GetPoint(const char* key, Point& value, Need need)
{
    const JsonNode* found = Typed(key, JsonNode::Kind::List, need);
    return found != nullptr && ReadPoint(*found, PathOf(key), value);
}

bool JsonReader::GetLine(const char* key, std::vector<Point>& value, std::size_t fewest, Need need)
{
    const JsonNode* found = Typed(key, JsonNode::Kind::List, need);
    if (found == nullptr)
        return false;
    if (IsTooLong(key, found->items.size(), kMostPoints))
        return false;
    std::vector<Point> line(found->items.size());
    bool right = true;
    for (std::size_t i = 0; i < line.size(); ++i)
        right = ReadPoint(found->items[i], Item(PathOf(key), i), line[i]) && right;
    if (line.size() < fewest)
    {
        Error(key, "should have at least " + std::to_string(fewest) + " points");
        return false;
    }
    if (right)
        value = std::move(line);
    return right;
}

bool JsonReader::GetNumbers(const char* key, std::vector<double>& value, Need need)
{
    const JsonNode* found = Find(key);
    if (found != nullptr && found->kind == JsonNode::Kind::Number)
    {
        value = {found->number};
        return true;
    }
    if (found == nullptr || found->kind != JsonNode::Kind::List)
    {
        if (found != nullptr || need == Need::Required)
            Error(key, found == nullptr ? "is missing; it should be a number or a list of numbers"
                                        : "should be a number or a list of numbers");
        return false;
    }
    std::vector<double> numbers;
    for (std::size_t i = 0; i < found->items.size(); ++i)
    {
        if (found->items[i].kind == JsonNode::Kind::Number)
            numbers.push_back(found->items[i].number);
        else
            faults_->Error(*file_, {Item(PathOf(key), i), found->items[i].line},
                           "should be a number");
    }
    if (numbers.size() != found->items.size())
        return false;
    value = std::move(numbers);
    return true;
}

void JsonReader::ForEach(const char* key, Need need, const std::function<void(JsonReader&)>& read)
{
    const JsonNode* found = Typed(key, JsonNode::Kind::List, need);
    if (found == nullptr)
        return;
    if (IsTooLong(key, found->items.size(), kMostObjects))
        return;
    if (found->items.empty() && need == Need::Required)
        Error(key, "should not be empty");
    for (std::size_t i = 0; i < found->items.size(); ++i)
    {
        const JsonNode& item = found->items[i];
        if (item.kind != JsonNode::Kind::Object)
        {
            faults_->Error(*file_, {Item(PathOf(key), i), item.line}, "should be an object");
            continue;
        }
        JsonReader reader(item, Item(PathOf(key), i), *file_, *faults_);
        read(reader);
        reader.WarnOfUnknown();
    }
}

bool JsonReader::GetObject(const char* key, Need need, const std::function<void(JsonReader&)>& read)
{
    const JsonNode* found = Typed(key, JsonNode::Kind::Object, need);
    if (found == nullptr)
        return false;
    JsonReader reader(*found, PathOf(key), *file_, *faults_);
    read(reader);
    reader.WarnOfUnknown();
    return true;
}

void JsonReader::ForEachMember(const std::function<void(const std::string&, JsonReader&)>& read)
{
    IgnoreRest();
    for (std::size_t i = 0; i < node_->names.size(); ++i)
    {
        const JsonNode& item = node_->items[i];
        const std::string path = PathOf(node_->names[i]);
        if (item.kind != JsonNode::Kind::Object)
        {
            faults_->Error(*file_, {path, item.line}, "should be an object");
            continue;
        }
        JsonReader reader(item, path, *file_, *faults_);
        read(node_->names[i], reader);
        reader.WarnOfUnknown();
    }
}

} // namespace percova
