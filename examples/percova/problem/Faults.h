/// @file
/// Faults of the input, each with its file and position.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace percova
{

/// The position of an item in its file.
struct Place
{
    std::string
        key;      ///< path of the value in a problem file, as "boundaries[1].value"; may be empty
    int line = 0; ///< counted from 1; 0 when unknown
};

enum class Severity
{
    Error,  ///< nothing can be computed
    Warning ///< something is unusual and was ignored
};

struct Fault
{
    Severity severity = Severity::Error;
    std::string file; ///< UTF-8, as the user named it
    Place place;
    std::string text; ///< UTF-8, a sentence
};

/// Collects faults: the first hundred are kept, the others counted.
class Faults
{
public:
    void Error(const std::string& file, const Place& place, const std::string& text);
    void Warning(const std::string& file, const Place& place, const std::string& text);

    const std::vector<Fault>& List() const { return list_; }
    std::size_t Errors() const { return errors_; }
    std::size_t Warnings() const { return warnings_; }
    /// The number of faults not in List().
    std::size_t LeftOut() const { return errors_ + warnings_ - list_.size(); }
    bool Any() const { return errors_ != 0; }

private:
    void Add(Fault fault);

    std::vector<Fault> list_;
    std::size_t errors_ = 0;
    std::size_t warnings_ = 0;
};

/// One line a person can read: "FILE:LINE: KEY: TEXT", leaving out what is unknown.
std::string Line(const Fault& fault);

} // namespace percova
