#include "data/datatable_eval.h"

#include "data/DataTable.h"
#include "data/table/EvaluationPlan.h"
#include "foundation/MissingValue.h"

#include <array>
#include <cstring>
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
using impl::Plan;

constexpr double kMissing = MissingValue<double>();

bool IsRow(const DataTable& table, GID row)
{
    return row.value != 0 && row.value <= table.RowCount();
}

double Run(const Plan& plan, const DataTable& table, GID row)
{
    std::vector<double> stored;
    plan.Gather(table, row, stored);
    return plan.Compute(stored.data());
}

/// The plans of one table's quantities, made when first wanted.
class PlanCache
{
public:
    std::shared_ptr<const Plan> Get(const DataTable& table, DataParamType param)
    {
        const auto index = static_cast<std::uint32_t>(param);
        if (index >= plans_.size())
            return std::make_shared<const Plan>(table, param);
        {
            const std::shared_lock reading(lock_);
            // A table may have got other calculators without telling.
            if (plans_[index] != nullptr && plans_[index]->IsFor(table))
                return plans_[index];
        }
        auto made = std::make_shared<const Plan>(table, param);
        const std::unique_lock writing(lock_);
        // Another reader may have been first: one plan for all, so that values stay kept.
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
    std::array<std::shared_ptr<const Plan>, kDataParamTypeCount> plans_;
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
        // Outside the lock: a calculator takes its time, and may read the table itself.
        const double value = plan->Compute(stored.data());
        const std::lock_guard locked(part.lock);
        part.values[key] = {std::move(plan), std::move(stored), value};
        return value;
    }

private:
    struct Kept
    {
        std::shared_ptr<const Plan> plan; // that the value was computed by
        std::vector<double> stored;       // from these cells
        double value = 0;
    };
    // Readers of different rows rarely meet.
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
    const Plan plan(table, param);
    if (table.Evaluator() == this || table.Evaluator() == nullptr)
        return Run(plan, table, row);
    // Called by the table's own evaluator, which may have its own answers for the inputs.
    std::vector<double> inputs;
    for (const DataParamType input : plan.Wanted().Inputs())
        inputs.push_back(table.GetValue(row, input));
    return plan.Wanted().Calculate(inputs);
}

EvaluatorPtr MakeSimpleEvaluator()
{
    return {&SimpleParamEvaluator::Instance(), [](void*) {}};
}

EvaluatorPtr MakeCachedCalculatorEvaluator() { return MakeOwned<CachedCalculatorEvaluator>(); }

EvaluatorPtr MakeLazyCachingEvaulator() { return MakeOwned<LazyCachingEvaluator>(); }

} // namespace eval
} // namespace datatable
