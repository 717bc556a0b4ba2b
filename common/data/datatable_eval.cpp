#include "data/datatable_eval.h"

#include "data/DataTable.h"
#include "data/table/ColumnReader.h"
#include "data/table/EvaluationPlan.h"
#include "foundation/MissingValue.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <list>
#include <map>
#include <mutex>
#include <shared_mutex>
#include <unordered_map>
#include <utility>

namespace datatable
{

IParamEvaluator::~IParamEvaluator() = default;

namespace eval
{
namespace
{
using data::EvaluationPlan;

constexpr double kMissing = MissingValue<double>();

bool IsRow(const DataTable& table, GID row)
{
    return row.value != 0 && row.value <= table.RowCount();
}

double Run(const EvaluationPlan& plan, const DataTable& table, GID row)
{
    std::vector<double> stored;
    plan.Gather(table, row, stored);
    return plan.Compute(stored.data());
}

/// The reads of one row that a table's own evaluator delegates to the simple one. A read requests
/// its inputs from the table, the table from its evaluator, and that delegates again; so values
/// computed by one read are kept until the outermost read of the row returns. Otherwise quantities
/// that share their inputs would be computed once for every path to them.
class Delegation
{
public:
    static double Evaluate(const DataTable& table, GID row, DataParamType param)
    {
        Delegation* const current = theCurrent;
        if (current != nullptr && current->table_ == &table && current->row_ == row)
            return current->Get(param);
        return Delegation(table, row).Get(param);
    }
    ~Delegation() { theCurrent = outer_; }
    Delegation(const Delegation&) = delete;
    Delegation& operator=(const Delegation&) = delete;

private:
    Delegation(const DataTable& table, GID row) : table_(&table), row_(row), outer_(theCurrent)
    {
        theCurrent = this;
    }

    double Get(DataParamType param)
    {
        if (const auto known = values_.find(param); known != values_.end())
            return known->second;
        const DataParamCalculator calculator = Calculator(param);
        std::vector<double> inputs;
        for (const DataParamType input : calculator.Inputs())
            inputs.push_back(table_->GetValue(row_, input));
        return values_[param] = calculator.Calculate(inputs);
    }

    const DataParamCalculator& Calculator(DataParamType param)
    {
        for (const EvaluationPlan& plan : plans_)
        {
            if (const DataParamCalculator* found = plan.FindCalculator(param); found != nullptr)
                return *found;
        }
        return *plans_.emplace_back(*table_, param).FindCalculator(param);
    }

    static thread_local Delegation* theCurrent; // no destructor: the library can be unloaded

    const DataTable* table_;
    GID row_;
    Delegation* outer_;
    std::list<EvaluationPlan> plans_;
    std::map<DataParamType, double> values_;
};

thread_local Delegation* Delegation::theCurrent = nullptr;

/// The plans of one table's quantities, made at the first request.
class PlanCache
{
public:
    std::shared_ptr<const EvaluationPlan> Get(const DataTable& table, DataParamType param)
    {
        const auto index = static_cast<std::uint32_t>(param);
        if (index >= plans_.size())
            return std::make_shared<const EvaluationPlan>(table, param);
        {
            const std::shared_lock reading(lock_);
            // The calculators may have been replaced without a call of Invalidate.
            if (plans_[index] != nullptr && plans_[index]->IsFor(table))
                return plans_[index];
        }
        auto made = std::make_shared<const EvaluationPlan>(table, param);
        const std::unique_lock writing(lock_);
        // Another reader may have been first: one plan for all, so that cached values stay valid.
        if (plans_[index] == nullptr || !plans_[index]->IsFor(table))
            plans_[index] = std::move(made);
        return plans_[index];
    }

    void Clear()
    {
        const std::unique_lock writing(lock_);
        plans_.fill(nullptr);
    }

private:
    std::shared_mutex lock_;
    std::array<std::shared_ptr<const EvaluationPlan>, kDataParamTypeCount> plans_;
};

class CachedCalculatorEvaluator final : public IParamEvaluator
{
public:
    void Invalidate(DataTable&) override { plans_.Clear(); }

    double Evaluate(const DataTable& table, GID row, DataParamType param) override
    {
        return IsRow(table, row) ? Run(*plans_.Get(table, param), table, row) : kMissing;
    }

private:
    PlanCache plans_;
};

class LazyCachingEvaluator final : public IParamEvaluator
{
public:
    void Invalidate(DataTable&) override
    {
        plans_.Clear();
        for (Part& part : parts_)
        {
            const std::lock_guard locked(part.lock);
            part.values.clear();
        }
    }

    double Evaluate(const DataTable& table, GID row, DataParamType param) override
    {
        if (!IsRow(table, row))
            return kMissing;
        auto plan = plans_.Get(table, param);
        std::vector<double> stored;
        plan->Gather(table, row, stored);

        const std::uint64_t key =
            (std::uint64_t{static_cast<std::uint32_t>(param)} << 32) | row.value;
        Part& part = parts_[row.value % parts_.size()];
        {
            const std::lock_guard locked(part.lock);
            const auto found = part.values.find(key);
            if (found != part.values.end() && found->second.plan == plan &&
                SameBits(found->second.stored, stored))
                return found->second.value;
        }
        // Outside the lock: a calculator may take long, and may read the table itself.
        const double value = plan->Compute(stored.data());
        const std::lock_guard locked(part.lock);
        part.values[key] = {std::move(plan), std::move(stored), value};
        return value;
    }

private:
    struct Kept
    {
        std::shared_ptr<const EvaluationPlan> plan; // that the value was computed by
        std::vector<double> stored;                 // from these cells
        double value = 0;
    };
    // Partitioned, so that readers of different rows rarely contend.
    struct Part
    {
        std::mutex lock;
        std::unordered_map<std::uint64_t, Kept> values; // by quantity and row
    };

    static bool SameBits(const std::vector<double>& a, const std::vector<double>& b)
    {
        return a.size() == b.size() &&
               (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(double)) == 0);
    }

    PlanCache plans_;
    std::array<Part, 16> parts_;
};

template <class Evaluator>
EvaluatorPtr MakeOwned()
{
    return {new Evaluator,
            [](void* evaluator) { delete static_cast<IParamEvaluator*>(evaluator); }};
}
} // namespace

SimpleParamEvaluator& SimpleParamEvaluator::Instance()
{
    static SimpleParamEvaluator evaluator;
    return evaluator;
}

void SimpleParamEvaluator::Invalidate(DataTable&) {}

double SimpleParamEvaluator::Evaluate(const DataTable& table, GID row, DataParamType param)
{
    if (!IsRow(table, row))
        return kMissing;
    // Called by the table's own evaluator, which may have its own answers for the inputs.
    if (table.Evaluator() != this && table.Evaluator() != nullptr)
        return Delegation::Evaluate(table, row, param);
    const DataParamCalculator calculator = table.GetCalculator(param);
    const std::vector<DataParamType>& inputs = calculator.Inputs();
    double values[16];
    const bool isDirect = inputs.size() <= std::size(values) &&
                          std::all_of(inputs.begin(), inputs.end(), [&table](DataParamType input) {
                              return table.IsStored(input);
                          });
    if (!isDirect)
        return Run(EvaluationPlan(table, param), table, row);
    for (std::size_t i = 0; i < inputs.size(); ++i)
        values[i] = table.GetValue(row, inputs[i]);
    return calculator.Calculate({values, inputs.size()}); // missing from an invalid calculator
}

EvaluatorPtr MakeSimpleEvaluator()
{
    return {&SimpleParamEvaluator::Instance(), [](void*) {}};
}

EvaluatorPtr MakeCachedCalculatorEvaluator() { return MakeOwned<CachedCalculatorEvaluator>(); }

EvaluatorPtr MakeLazyCachingEvaulator() { return MakeOwned<LazyCachingEvaluator>(); }

} // namespace eval
} // namespace datatable

bool data::KeepsNoValues(const datatable::IParamEvaluator* evaluator)
{
    using datatable::eval::CachedCalculatorEvaluator, datatable::eval::SimpleParamEvaluator;
    return evaluator == &SimpleParamEvaluator::Instance() ||
           dynamic_cast<const CachedCalculatorEvaluator*>(evaluator) != nullptr;
}
