#include "problem/JsonTree.h"

#include "problem/Shown.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <set>
#include <utility>

namespace percova
{
namespace
{
constexpr std::size_t kDeepest = 64;
constexpr std::size_t kMostKeys = 1000; // of one object

/// Iterates over a text and exposes its position.
class Walker
{
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    Walker(const char* at, const char** seen) : at_(at), seen_(seen) {}
    const char& operator*() const { return *at_; }
    Walker& operator++()
    {
        *seen_ = ++at_;
        return *this;
    }
    Walker operator++(int)
    {
        Walker before = *this;
        ++*this;
        return before;
    }
    bool operator==(const Walker& other) const { return at_ == other.at_; }
    bool operator!=(const Walker& other) const { return at_ != other.at_; }

private:
    const char* at_;
    const char** seen_;
};

/// Receives the parser's events. Its function names are the parser's.
class Handler
{
public:
    using number_integer_t = nlohmann::json::number_integer_t;
    using number_unsigned_t = nlohmann::json::number_unsigned_t;
    using number_float_t = nlohmann::json::number_float_t;
    using string_t = nlohmann::json::string_t;
    using binary_t = nlohmann::json::binary_t;

    Handler(const std::string& file, const char* text, const char** seen, JsonNode& root,
            Faults& faults)
        : file_(file), counted_(text), seen_(seen), root_(root), faults_(faults)
    {
    }

    bool null() { return Add(JsonNode::Kind::Null, 0, 0); }
    bool boolean(bool value) { return Add(JsonNode::Kind::Boolean, value ? 1 : 0, 0); }
    bool number_integer(number_integer_t value) { return Number(static_cast<double>(value)); }
    bool number_unsigned(number_unsigned_t value) { return Number(static_cast<double>(value)); }
    bool number_float(number_float_t value, const string_t&) { return Number(value); }
    bool string(string_t& value)
    {
        if (!Add(JsonNode::Kind::Text, 0, 0))
            return false;
        added_->names.Add(std::move(value));
        return true;
    }
    bool binary(binary_t&) { return false; }
    bool start_object(std::size_t) { return Open(JsonNode::Kind::Object); }
    bool start_array(std::size_t) { return Open(JsonNode::Kind::List); }
    bool end_object() { return Close(); }
    bool end_array() { return Close(); }
    bool key(string_t& value)
    {
        SmallList<std::string>& names = open_.back().node->names;
        if (!open_.back().seen.insert(value).second)
            doubled_.push_back({Shortened(value), Line(0)});
        if (names.size() == kMostKeys)
        {
            faults_.Error(file_, {"", Line(0)},
                          "has an object of more than " + std::to_string(kMostKeys) + " keys");
            return false;
        }
        names.Add(std::move(value));
        return true;
    }
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception& error)
    {
        // "[json.exception...] parse error at line 3, column 5: what is wrong"
        std::string text = error.what();
        for (const char* prefix : {"] ", ", "})
            if (const std::size_t end = text.find(prefix); end != std::string::npos && end < 60)
                text.erase(0, end + 2);
        faults_.Error(file_, {"", Line(0)}, "is no valid JSON: " + Shortened(text, 300));
        return false;
    }

    /// Reports the keys that occur twice in an object, of a text that is JSON otherwise.
    void ReportDoubled()
    {
        for (const Place& key : doubled_)
            faults_.Error(file_, key, "occurs twice in one object");
    }

private:
    /// The line of what was just read, of which @p ahead characters more have been read.
    int Line(std::ptrdiff_t ahead)
    {
        const char* const here = *seen_ - ahead;
        if (here > counted_)
        {
            line_ += static_cast<int>(std::count(counted_, here, '\n'));
            counted_ = here;
        }
        return line_;
    }
    bool Number(double value)
    {
        return Add(JsonNode::Kind::Number, value, 1); // its end shows by the next character
    }
    /// Makes added_ the next value. @returns false when there are too many
    bool Add(JsonNode::Kind kind, double number, std::ptrdiff_t ahead)
    {
        if (++values_ > kMostValues)
        {
            faults_.Error(file_, {"", Line(ahead)},
                          "has more than " + std::to_string(kMostValues) + " values");
            return false;
        }
        added_ = open_.empty() ? &root_ : &open_.back().node->items.Add({});
        added_->kind = kind;
        added_->number = number;
        added_->line = Line(ahead);
        return true;
    }
    bool Open(JsonNode::Kind kind)
    {
        if (open_.size() == kDeepest)
        {
            faults_.Error(file_, {"", Line(0)},
                          "is nested more than " + std::to_string(kDeepest) + " deep");
            return false;
        }
        if (!Add(kind, 0, 0))
            return false;
        open_.push_back({added_, {}});
        return true;
    }
    bool Close()
    {
        open_.pop_back();
        return true;
    }

    const std::string& file_;
    const char* counted_; ///< the lines up to here are in line_
    const char** seen_;
    int line_ = 1;
    JsonNode& root_;
    /// A list or an object whose end is to come; a parent does not grow while a child is open.
    struct OpenNode
    {
        JsonNode* node;
        std::set<std::string> seen; ///< names
    };
    std::vector<OpenNode> open_;
    JsonNode* added_ = nullptr;
    std::size_t values_ = 0;
    Faults& faults_;
    std::vector<Place> doubled_; ///< keys
};

} // namespace

const char* Described(JsonNode::Kind kind)
{
    constexpr const char* kNames[] = {"null",   "true or false", "a number",
                                      "a text", "a list",        "an object"};
    return kNames[static_cast<std::size_t>(kind)];
}

bool ParseJson(const std::string& text, const std::string& file, JsonNode& root, Faults& faults)
{
    const char* seen = text.data();
    const char* const end = text.data() + text.size();
    Handler handler(file, text.data(), &seen, root, faults);
    const bool parsed =
        nlohmann::json::sax_parse(Walker(text.data(), &seen), Walker(end, &seen), &handler);
    if (parsed)
        handler.ReportDoubled();
    return parsed;
}

} // namespace percova
