#include "problem/Faults.h"

#include "problem/Shown.h"

#include <utility>

namespace percova
{
namespace
{
constexpr std::size_t kKept = 100;
} // namespace

void Faults::Error(const std::string& file, const Place& place, const std::string& text)
{
    ++errors_;
    Add({Severity::Error, file, place, text});
}

void Faults::Warning(const std::string& file, const Place& place, const std::string& text)
{
    ++warnings_;
    Add({Severity::Warning, file, place, text});
}

void Faults::Add(Fault fault)
{
    if (list_.size() >= kKept)
        return;
    constexpr std::size_t kLongest = 2000;
    fault.text = Shortened(fault.text, kLongest);
    list_.push_back(std::move(fault));
}

std::string Line(const Fault& fault)
{
    std::string line = fault.file;
    if (fault.place.line > 0)
        line += ':' + std::to_string(fault.place.line);
    line += fault.severity == Severity::Warning ? ": warning: " : ": ";
    if (!fault.place.key.empty())
        line += fault.place.key + ": ";
    return Shown(line + fault.text);
}

} // namespace percova
