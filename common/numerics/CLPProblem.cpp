#include "numerics/CLPProblem.h"

#include "foundation/kvidbg.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <exception>
#include <iterator>
#include <limits>
#include <lpsolve/lp_lib.h> // last: its macros are many
#include <new>
#include <utility>

namespace
{

/// The one model of the process, and its owner.
struct Model
{
    lprec* lp;
    const CLPProblem* owner;
};
constinit Model theModel = {nullptr, nullptr};

void EndModel()
{
    if (theModel.lp)
        delete_lp(theModel.lp);
    theModel = {nullptr, nullptr};
}

/// Whether @p problem owns the model; otherwise writes a log record.
bool HasModel(const CLPProblem& problem, const wchar_t* operation)
{
    if (theModel.owner == &problem && theModel.lp)
        return true;
    KVI_LOG(kvi::diag::error, kvi::diag::kMathCategory,
            L"linear program: %s without a model: it was too large, another problem took it, or "
            L"it ended with one",
            operation);
    return false;
}

void Refuse(const wchar_t* operation, const wchar_t* reason)
{
    KVI_LOG(kvi::diag::error, kvi::diag::kMathCategory, L"linear program: %s refused: %s",
            operation, reason);
}

/// lp_solve crashes when an allocation fails, so allocation is tested before.
bool HasRoom(unsigned variables)
{
    constexpr std::size_t kBytes = 256; // of lp_solve per column, rounded up
    constexpr std::size_t kMost =
        std::min<std::size_t>(100'000'000, std::numeric_limits<std::size_t>::max() / kBytes - 1);
    if (variables > kMost)
        return false;
    return std::unique_ptr<char[]>(new (std::nothrow) char[variables * kBytes + 1]) != nullptr;
}

/// Terms in the form that lp_solve reads fastest: columns counted from 1, ascending, each once.
class SparseRow
{
public:
    explicit SparseRow(unsigned variables) : place_(variables) {}

    /// @returns null, or why the terms cannot form a row
    const wchar_t* Set(const std::vector<CLPTerm>& terms)
    {
        columns_.clear();
        coefficients_.clear();
        for (const CLPTerm& term : terms)
        {
            if (term.variable >= place_.size())
                return L"there is no such variable";
            if (!std::isfinite(term.coefficient))
                return L"a coefficient is not finite";
            // Stale places of earlier rows do no harm: the column there is another one.
            const int column = int(term.variable) + 1;
            const std::size_t place = place_[term.variable];
            if (place < columns_.size() && columns_[place] == column)
                coefficients_[place] = term.coefficient;
            else
            {
                place_[term.variable] = columns_.size();
                columns_.push_back(column);
                coefficients_.push_back(term.coefficient);
            }
        }
        Sort();
        return nullptr;
    }

    const std::vector<int>& Columns() const { return columns_; }
    const std::vector<double>& Coefficients() const { return coefficients_; }

private:
    void Sort()
    {
        if (std::is_sorted(columns_.begin(), columns_.end()))
            return;
        std::sort(columns_.begin(), columns_.end());
        const std::vector<double> unsorted = coefficients_;
        for (std::size_t k = 0; k < columns_.size(); ++k)
            coefficients_[k] = unsorted[place_[std::size_t(columns_[k] - 1)]];
    }

    std::vector<int> columns_;
    std::vector<double> coefficients_;
    std::vector<std::size_t> place_; ///< of each variable in the row
};

/// The entries of some rows, one row after the other.
struct Entries
{
    std::vector<int> columns; ///< counted from 1
    std::vector<double> coefficients;

    void Append(const SparseRow& row)
    {
        columns.insert(columns.end(), row.Columns().begin(), row.Columns().end());
        try
        {
            coefficients.insert(coefficients.end(), row.Coefficients().begin(),
                                row.Coefficients().end());
        }
        catch (...)
        {
            columns.resize(coefficients.size());
            throw;
        }
    }
    void Resize(std::size_t size)
    {
        columns.resize(size);
        coefficients.resize(size);
    }
    /// lp_solve interprets a null pointer as a dense row, even without entries.
    int* ColumnsFrom(std::size_t first)
    {
        static int none = 0;
        return first < columns.size() ? &columns[first] : &none;
    }
    double* CoefficientsFrom(std::size_t first)
    {
        static double none = 0;
        return first < coefficients.size() ? &coefficients[first] : &none;
    }
};

struct Relation
{
    int kind;
    double rhs;
    std::size_t end; ///< of the constraint's entries
};

constexpr int kRelation[] = {LE, GE, EQ}; // by kind
constexpr double kInfinity = 1e30;        // lp_solve's
constexpr double kTolerance = 1e-7;

/// The power of two that brings an objective of tiny coefficients, which lp_solve would take for
/// zero, to about 1; the optimum stays where it is.
int ScaleOf(const std::vector<double>& coefficients)
{
    constexpr double kTiny = 1e-6;
    double largest = 0;
    for (const double coefficient : coefficients)
        largest = std::max(largest, std::fabs(coefficient));
    return largest > 0 && largest < kTiny ? -std::ilogb(largest) : 0;
}

} // namespace

struct CLPProblem::State
{
    State(unsigned numVar, bool hasRoom)
        : variables(numVar), isInteger(hasRoom ? numVar : 0), row(hasRoom ? numVar : 0)
    {
    }

    bool Fill(lprec* lp, bool isScaled);
    bool Holds(const std::vector<double>& x) const;
    bool HoldsConstraint(std::size_t k, std::size_t first, const std::vector<double>& x) const;

    unsigned variables;
    bool isMaximised = false;
    bool isModelUsed = false;
    CLPStatus status = CLPStatus::NotSolved;
    Entries objective, entries;
    std::vector<Relation> constraints;
    std::vector<bool> isInteger;
    std::vector<double> solution; ///< empty until solved
    SparseRow row;
};

/// Writes the program into an empty model. @returns whether lp_solve accepts it
bool CLPProblem::State::Fill(lprec* lp, bool isScaled)
{
    set_verbose(lp, NEUTRAL);
    set_add_rowmode(lp, TRUE);
    Entries scaled = objective;
    const int scale = ScaleOf(objective.coefficients);
    for (double& coefficient : scaled.coefficients)
        coefficient = std::ldexp(coefficient, scale);
    if (!set_obj_fnex(lp, int(scaled.columns.size()), scaled.CoefficientsFrom(0),
                      scaled.ColumnsFrom(0)))
        return false;
    if (isMaximised)
        set_maxim(lp);
    else
        set_minim(lp);
    std::size_t first = 0;
    for (const auto& [kind, rhs, end] : constraints)
    {
        if (!add_constraintex(lp, int(end - first), entries.CoefficientsFrom(first),
                              entries.ColumnsFrom(first), kRelation[kind],
                              std::clamp(rhs, -kInfinity, kInfinity)))
            return false;
        first = end;
    }
    for (unsigned i = 0; i < variables; ++i)
    {
        if (isInteger[i])
            set_int(lp, int(i) + 1, TRUE);
    }
    set_add_rowmode(lp, FALSE);
    if (!isScaled)
        set_scaling(lp, SCALE_NONE);
    return true;
}

/// Whether constraint @p k, whose entries start at @p first, holds at @p x within the tolerance.
bool CLPProblem::State::HoldsConstraint(std::size_t k, std::size_t first,
                                        const std::vector<double>& x) const
{
    const auto& [kind, rhs, end] = constraints[k];
    double sum = 0, magnitude = std::fabs(rhs);
    for (std::size_t at = first; at < end; ++at)
    {
        const double value = x[std::size_t(entries.columns[at] - 1)], a = entries.coefficients[at];
        sum += a * value;
        magnitude += std::fabs(a) * std::max(1.0, std::fabs(value));
    }
    const double excess = kind == 0 ? sum - rhs : kind == 1 ? rhs - sum : std::fabs(sum - rhs);
    return excess <= kTolerance * magnitude;
}

bool CLPProblem::State::Holds(const std::vector<double>& x) const
{
    for (unsigned i = 0; i < variables; ++i)
    {
        const double value = x[i];
        if (!(value >= -kTolerance && value < kInfinity))
            return false;
        if (isInteger[i] && !(std::fabs(value - std::nearbyint(value)) <= kTolerance))
            return false;
    }
    std::size_t first = 0;
    for (std::size_t k = 0; k < constraints.size(); first = constraints[k++].end)
    {
        if (!HoldsConstraint(k, first, x))
            return false;
    }
    return true;
}

CountedObjPtr<CLPProblem> CLPProblem::create(unsigned numVar)
{
    return CountedObjPtr<CLPProblem>(new CLPProblem(numVar));
}

CLPProblem::CLPProblem(unsigned numVar)
{
    EndModel();
    const bool hasRoom = HasRoom(numVar);
    state_ = std::make_unique<State>(numVar, hasRoom);
    theModel = {hasRoom ? make_lp(0, int(numVar)) : nullptr, this};
    (void)HasModel(*this, L"create"); // for the record
}

CLPProblem::~CLPProblem() { EndModel(); }

void CLPProblem::objFunc(const CLPObjFunc& objective)
{
    if (!HasModel(*this, L"objective"))
        return;
    State& s = *state_;
    try
    {
        if (const wchar_t* reason = s.row.Set(objective.terms))
            return Refuse(L"objective", reason);
        Entries entries;
        entries.Append(s.row);
        std::swap(s.objective, entries);
    }
    catch (const std::exception&)
    {
        return Refuse(L"objective", L"out of memory");
    }
    s.isMaximised = objective.maximise;
    s.status = CLPStatus::NotSolved;
}

void CLPProblem::add(const CLPConstraint& constraint)
{
    if (!HasModel(*this, L"constraint"))
        return;
    if (unsigned(constraint.kind) >= std::size(kRelation))
        return Refuse(L"constraint", L"there is no such kind");
    if (!std::isfinite(constraint.rhs))
        return Refuse(L"constraint", L"its right-hand side is not finite");
    State& s = *state_;
    const std::size_t before = s.entries.columns.size();
    try
    {
        if (const wchar_t* reason = s.row.Set(constraint.terms))
            return Refuse(L"constraint", reason);
        s.entries.Append(s.row);
        s.constraints.push_back({constraint.kind, constraint.rhs, s.entries.columns.size()});
    }
    catch (const std::exception&)
    {
        s.entries.Resize(before);
        return Refuse(L"constraint", L"out of memory");
    }
    s.status = CLPStatus::NotSolved;
}

void CLPProblem::add(const std::vector<CLPConstraint>& constraints)
{
    for (const CLPConstraint& constraint : constraints)
        add(constraint);
}

void CLPProblem::intVar(unsigned i, bool isInteger)
{
    if (!HasModel(*this, L"integer variable"))
        return;
    if (i >= state_->variables)
        return Refuse(L"integer variable", L"there is no such variable");
    state_->isInteger[i] = isInteger;
    state_->status = CLPStatus::NotSolved;
}

/// One run of lp_solve on a fresh model. lp_solve would start a further solve of the same model
/// from the previous basis, and then reports false optima.
/// @returns lp_solve's result, or NOMEMORY
int CLPProblem::Run(bool isScaled)
{
    State& s = *state_;
    if (std::exchange(s.isModelUsed, true))
    {
        delete_lp(theModel.lp);
        theModel.lp = HasRoom(s.variables) ? make_lp(0, int(s.variables)) : nullptr;
    }
    lprec* const lp = theModel.lp;
    if (!lp || !s.Fill(lp, isScaled))
        return NOMEMORY;
    const int result = ::solve(lp);
    double* best = nullptr;
    if ((result == OPTIMAL || result == INFEASIBLE || result == UNBOUNDED) &&
        get_ptr_variables(lp, &best))
        s.solution.assign(best, best + s.variables);
    return result;
}

void CLPProblem::solve()
{
    if (!HasModel(*this, L"solve"))
        return;
    State& s = *state_;
    const int result = Run(true);
    if (result == INFEASIBLE || result == UNBOUNDED)
        s.status = result == INFEASIBLE ? CLPStatus::Infeasible : CLPStatus::Unbounded;
    else if (result != OPTIMAL)
        KVI_LOG(kvi::diag::warning, kvi::diag::kMathCategory,
                L"linear program: no definite outcome, lp_solve returns %d", result);
    else if (std::any_of(s.solution.begin(), s.solution.end(),
                         [](double x) { return std::fabs(x) >= kInfinity; }))
        s.status = CLPStatus::Unbounded; // without a row that bounds the column
    else if (s.Holds(s.solution) || (Run(false) == OPTIMAL && s.Holds(s.solution)))
        s.status = CLPStatus::Optimal;
    else
    {
        s.status = CLPStatus::NotSolved;
        KVI_LOG(kvi::diag::warning, kvi::diag::kMathCategory,
                L"linear program: the optimum of lp_solve violates the constraints");
    }
}

bool CLPProblem::IsOptimal() const { return Status() == CLPStatus::Optimal; }

CLPStatus CLPProblem::Status() const
{
    return theModel.owner == this ? state_->status : CLPStatus::NotSolved;
}

double CLPProblem::var(unsigned i) const
{
    const double none = std::numeric_limits<double>::quiet_NaN();
    if (!HasModel(*this, L"variable"))
        return none;
    if (i >= state_->variables)
    {
        Refuse(L"variable", L"there is no such variable");
        return none;
    }
    return i < state_->solution.size() ? state_->solution[i] : 0;
}

unsigned CLPProblem::numVar() const { return state_->variables; }
unsigned CLPProblem::numCons() const { return unsigned(state_->constraints.size()); }
