#include "data/table/EvaluationPlan.h"

#include "data/DataTable.h"
#include "foundation/MissingValue.h"

#include <algorithm>
#include <array>

namespace data
{

/// Depth-first search for the dependencies of a quantity. Cycles are the strongly connected sets
/// with more than one member or with a member that needs itself. Source: Tarjan (1972), SIAM J.
/// Comput. 1(2), 146-160.
struct EvaluationPlan::Search
{
    Search(EvaluationPlan& made, const DataTable& asked) : plan(made), table(asked)
    {
        placeOf.fill(-1);
    }

    /// @returns the place of @p param in needs_
    int Visit(DataParamType param)
    {
        const auto index = static_cast<std::uint32_t>(param);
        const bool isMember = index < placeOf.size();
        if (isMember && placeOf[index] >= 0)
            return placeOf[index];

        const int place = static_cast<int>(plan.needs_.size());
        if (isMember)
            placeOf[index] = place;
        plan.needs_.push_back({param, Source::Unknown});
        lowest.push_back(place);
        isOpen.push_back(false);
        if (!isMember)
            return place;
        if (table.IsStored(param))
        {
            plan.needs_.back().source = Source::Stored;
            plan.stored_.push_back(place);
        }
        else if (DataParamCalculator calculator = table.GetCalculator(param); calculator.IsValid())
            VisitInputs(place, std::move(calculator));
        return place;
    }

    void VisitInputs(int place, DataParamCalculator calculator)
    {
        const auto at = static_cast<std::size_t>(place);
        open.push_back(place);
        isOpen[at] = true;
        bool needsItself = false;
        std::vector<int> inputs;
        for (const DataParamType param : calculator.Inputs())
        {
            const int input = Visit(param);
            const auto inputAt = static_cast<std::size_t>(input);
            needsItself = needsItself || input == place;
            if (isOpen[inputAt])
                lowest[at] = std::min(lowest[at], lowest[inputAt]);
            inputs.push_back(input);
        }
        plan.mostInputs_ = std::max(plan.mostInputs_, inputs.size());
        Need& need = plan.needs_[at];
        need.source = Source::Computed;
        need.calculator = std::move(calculator);
        need.inputs = std::move(inputs);
        plan.order_.push_back(place);
        if (lowest[at] == place)
            CloseSet(place, needsItself || open.back() != place);
    }

    /// Closes the connected set that was entered at @p place.
    void CloseSet(int place, bool isCycle)
    {
        int member = -1;
        while (member != place)
        {
            member = open.back();
            open.pop_back();
            const auto at = static_cast<std::size_t>(member);
            isOpen[at] = false;
            if (isCycle)
                plan.needs_[at] = {plan.needs_[at].param, Source::Cycle};
        }
    }

    EvaluationPlan& plan;
    const DataTable& table;
    std::array<int, kDataParamTypeCount> placeOf{};
    std::vector<int> lowest; // place of the earliest open need that can be reached
    std::vector<int> open;   // needs whose connected set is not closed yet
    std::vector<bool> isOpen;
};

EvaluationPlan::EvaluationPlan(const DataTable& table, DataParamType wanted)
    : rowKind_(table.RowKind()), calculators_(table.Calculators())
{
    Search search(*this, table);
    search.Visit(wanted);
    std::erase_if(order_, [this](int place) {
        return needs_[static_cast<std::size_t>(place)].source != Source::Computed;
    });
}

bool EvaluationPlan::IsComplete() const
{
    return std::all_of(needs_.begin(), needs_.end(), [](const Need& need) {
        return need.source == Source::Stored || need.source == Source::Computed;
    });
}

bool EvaluationPlan::IsFor(const DataTable& table) const
{
    // Compares owners, since another object may have the address of a deleted one.
    const auto& now = table.Calculators();
    return rowKind_ == table.RowKind() && !calculators_.owner_before(now) &&
           !now.owner_before(calculators_);
}

std::vector<DataParamType> EvaluationPlan::Leaves() const
{
    std::vector<DataParamType> leaves;
    for (const Need& need : needs_)
    {
        if (need.source != Source::Computed)
            leaves.push_back(need.param);
    }
    return leaves;
}

void EvaluationPlan::Gather(const DataTable& table, GID row, std::vector<double>& stored) const
{
    for (const int place : stored_)
        stored.push_back(table.GetValue(row, needs_[static_cast<std::size_t>(place)].param));
}

double EvaluationPlan::Compute(const double* stored) const
{
    // One value for each need, then room for the inputs of one calculator.
    std::vector<double> values(needs_.size() + mostInputs_, MissingValue<double>());
    double* const inputs = values.data() + needs_.size();
    for (const int place : stored_)
        values[static_cast<std::size_t>(place)] = *stored++;
    for (const int place : order_)
    {
        const Need& need = needs_[static_cast<std::size_t>(place)];
        for (std::size_t i = 0; i < need.inputs.size(); ++i)
            inputs[i] = values[static_cast<std::size_t>(need.inputs[i])];
        values[static_cast<std::size_t>(place)] =
            need.calculator.Calculate({inputs, need.inputs.size()});
    }
    return values[0];
}

void EvaluationPlan::ComputeRows(const DataTable& table, std::size_t above, std::size_t count,
                                 double* results) const
{
    constexpr std::size_t kBlock = 256; // rows: a few quantities of them stay in the first cache
    std::vector<double> space((needs_.size() - 1) * std::min(count, kBlock),
                              MissingValue<double>());
    std::vector<double*> columns(needs_.size());
    for (std::size_t need = 1; need < needs_.size(); ++need)
        columns[need] = space.data() + (need - 1) * std::min(count, kBlock);
    if (needs_[0].source != Source::Stored && needs_[0].source != Source::Computed)
        std::fill_n(results, count, MissingValue<double>());
    for (std::size_t done = 0; done < count; done += kBlock)
    {
        columns[0] = results + done;
        ComputeBlock(table, above + done, std::min(kBlock, count - done), columns);
    }
}

/// The values of every need, @p count rows in a column each; those that are neither stored nor
/// computed hold the missing value already.
void EvaluationPlan::ComputeBlock(const DataTable& table, std::size_t above, std::size_t count,
                                  const std::vector<double*>& columns) const
{
    for (const int place : stored_)
    {
        const auto at = static_cast<std::size_t>(place);
        const auto from =
            table.Column(needs_[at].param).begin() + static_cast<std::ptrdiff_t>(above);
        std::copy_n(from, count, columns[at]);
    }
    std::vector<const double*> inputs(mostInputs_);
    for (const int place : order_)
    {
        const Need& need = needs_[static_cast<std::size_t>(place)];
        for (std::size_t i = 0; i < need.inputs.size(); ++i)
            inputs[i] = columns[static_cast<std::size_t>(need.inputs[i])];
        need.calculator.CalculateColumn(inputs.data(), columns[static_cast<std::size_t>(place)],
                                        count);
    }
}

const DataParamCalculator* EvaluationPlan::FindCalculator(DataParamType param) const
{
    const auto found = std::find_if(needs_.begin(), needs_.end(),
                                    [param](const Need& need) { return need.param == param; });
    return found != needs_.end() ? &found->calculator : nullptr;
}

} // namespace data
