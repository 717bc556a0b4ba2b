#include "mesh/NodeIndex.h"

#include <algorithm>
#include <string>

namespace percova
{
namespace
{
void ReportTwice(const MshFile& file, std::size_t i, Faults& faults)
{
    faults.Error(file.name, {"", static_cast<int>(file.nodeLine[i])},
                 "node " + std::to_string(file.nodeNumber[i]) + " is in the file twice");
}
} // namespace

NodeIndex::NodeIndex(const MshFile& file, Faults& faults)
{
    const std::vector<std::size_t>& numbers = file.nodeNumber;
    const std::size_t most =
        numbers.empty() ? 0 : *std::max_element(numbers.begin(), numbers.end());
    if (most < 4 * numbers.size() + 1000)
        table_.assign(most + 1, -1);
    for (std::size_t i = 0; i < numbers.size(); ++i)
        if (table_.empty())
            sorted_.emplace_back(numbers[i], static_cast<int>(i));
        else if (table_[numbers[i]] != -1)
            ReportTwice(file, i, faults);
        else
            table_[numbers[i]] = static_cast<int>(i);
    std::sort(sorted_.begin(), sorted_.end());
    for (std::size_t k = 1; k < sorted_.size(); ++k)
        if (sorted_[k].first == sorted_[k - 1].first)
            ReportTwice(file, static_cast<std::size_t>(sorted_[k].second), faults);
}

int NodeIndex::Search(std::size_t number) const
{
    const auto found = std::lower_bound(sorted_.begin(), sorted_.end(), std::pair(number, 0));
    return found == sorted_.end() || found->first != number ? -1 : found->second;
}

} // namespace percova
