/// @file
/// Reads values from a JSON object, reporting missing, mistyped and unknown ones.
#pragma once

#include "problem/Faults.h"
#include "problem/JsonTree.h"
#include "problem/Plane.h"

#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace percova
{

enum class Need
{
    Optional,
    Required
};

constexpr std::size_t kMostObjects = 10'000; ///< of one list
constexpr std::size_t kMostPoints = 10'000;  ///< of one line or table

/// One object of a problem file. Every Get... marks its key as known, writes only on success and
/// reports problems as faults.
class JsonReader
{
public:
    /// @param path  path of the object, empty for the whole file
    JsonReader(const JsonNode& node, std::string path, const std::string& file, Faults& faults);

    bool GetText(const char* key, std::string& value, Need need = Need::Optional);
    bool GetNumber(const char* key, double& value, Need need = Need::Optional);
    bool GetCount(const char* key, int& value);
    bool GetPoint(const char* key, Point& value, Need need = Need::Optional);
    /// A list of points, @p fewest or more.
    bool GetLine(const char* key, std::vector<Point>& value, std::size_t fewest,
                 Need need = Need::Optional);
    /// One number, or a list of numbers.
    bool GetNumbers(const char* key, std::vector<double>& value, Need need = Need::Optional);
    /// Calls @p read with every object of a list.
    void ForEach(const char* key, Need need, const std::function<void(JsonReader&)>& read);
    /// Calls @p read with the object under @p key. @returns whether there is one
    bool GetObject(const char* key, Need need, const std::function<void(JsonReader&)>& read);
    /// Calls @p read with every object of this one and its name.
    void ForEachMember(const std::function<void(const std::string&, JsonReader&)>& read);

    /// Marks @p key as known. @returns its value, null when it is absent
    const JsonNode* Find(const char* key);
    void Ignore(std::initializer_list<const char*> keys);
    /// Every key is known.
    void IgnoreRest() { used_.assign(used_.size(), true); }
    /// Warns of every key that was not read, except those that begin with "note".
    void WarnOfUnknown();

    Place PlaceOf(const char* key) const;
    Place Here() const { return {path_, node_->line}; }
    void Error(const char* key, const std::string& text) const;
    void ErrorHere(const std::string& text) const { faults_->Error(*file_, Here(), text); }
    void Warn(const char* key, const std::string& text) const;

private:
    bool IsTooLong(const char* key, std::size_t size, std::size_t most) const;
    const JsonNode* Typed(const char* key, JsonNode::Kind kind, Need need);
    bool ReadPoint(const JsonNode& node, const std::string& path, Point& value) const;
    std::string PathOf(std::string_view key) const;

    const JsonNode* node_;
    std::string path_;
    const std::string* file_;
    Faults* faults_;
    std::vector<bool> used_; ///< by item of the object
};

} // namespace percova
