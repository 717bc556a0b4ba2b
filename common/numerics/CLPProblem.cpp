#include "numerics/CLPProblem.h"

#include "foundation/kvidbg.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <limits>
#include <lpsolve/lp_lib.h> // last: its macros are many
#include <new>

namespace
{

const kvi::diag::DeclareCategoryMask kMath("Math");

/// The one model of the process, and whose it is.
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

/// The problem's model; null and a log record when it has none.
lprec* ModelOf(const CLPProblem& problem, const wchar_t* operation)
{
    if (theModel.owner == &problem && theModel.lp)
        return theModel.lp;
    KVI_LOG(kvi::diag::error, kMath,
            L"linear programme: %s without a model: it was too large, went to another problem, or "
            L"ended with one",
            operation);
    return nullptr;
}

void Refuse(const wchar_t* operation, const wchar_t* reason)
{
    KVI_LOG(kvi::diag::error, kMath, L"linear programme: %s refused: %s", operation, reason);
}

/// lp_solve crashes where memory fails it, so this is tried before.
bool HasRoom(unsigned variables)
{
    constexpr std::size_t kBytes = 256; // what lp_solve takes for a column, generously
    constexpr std::size_t kMost =
        std::min<std::size_t>(100'000'000, std::numeric_limits<std::size_t>::max() / kBytes - 1);
    if (variables > kMost)
        return false;
    return std::unique_ptr<char[]>(new (std::nothrow) char[variables * kBytes + 1]) != nullptr;
}

/// Terms as lp_solve takes them quickest: columns counted from 1, ascending, each once.
class SparseRow
{
public:
    /// One entry of room also for no variables: lp_solve takes null for a dense row.
    explicit SparseRow(unsigned variables) : place_(variables)
    {
        columns_.reserve(1);
        coefficients_.reserve(1);
    }

    /// @returns null, or why the terms cannot stand in a row
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
            // Places left from earlier rows do not matter: the column there would be another.
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

    int Count() const { return int(columns_.size()); }
    double* Coefficients() { return coefficients_.data(); }
    int* Columns() { return columns_.data(); }

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

} // namespace

struct CLPProblem::State
{
    State(unsigned numVar, bool hasRoom) : variables(numVar), row(hasRoom ? numVar : 0) {}

    unsigned variables;
    unsigned constraints = 0;
    CLPStatus status = CLPStatus::NotSolved;
    std::vector<double> solution; ///< empty until solved
    SparseRow row;
};

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
    if (lprec* lp = ModelOf(*this, L"create"))
    {
        set_verbose(lp, NEUTRAL);
        set_add_rowmode(lp, TRUE);
    }
}

CLPProblem::~CLPProblem() { EndModel(); }

void CLPProblem::objFunc(const CLPObjFunc& objective)
{
    lprec* const lp = ModelOf(*this, L"objective");
    if (!lp)
        return;
    SparseRow& row = state_->row;
    if (const wchar_t* reason = row.Set(objective.terms))
        return Refuse(L"objective", reason);
    set_obj_fnex(lp, row.Count(), row.Coefficients(), row.Columns());
    if (objective.maximise)
        set_maxim(lp);
    else
        set_minim(lp);
}

void CLPProblem::add(const CLPConstraint& constraint)
{
    lprec* const lp = ModelOf(*this, L"constraint");
    if (!lp)
        return;
    constexpr int kRelation[] = {LE, GE, EQ};
    if (unsigned(constraint.kind) >= std::size(kRelation))
        return Refuse(L"constraint", L"there is no such kind");
    if (!std::isfinite(constraint.rhs))
        return Refuse(L"constraint", L"its right-hand side is not finite");
    SparseRow& row = state_->row;
    if (const wchar_t* reason = row.Set(constraint.terms))
        return Refuse(L"constraint", reason);
    if (!add_constraintex(lp, row.Count(), row.Coefficients(), row.Columns(),
                          kRelation[constraint.kind], constraint.rhs))
        return Refuse(L"constraint", L"lp_solve does not take it");
    ++state_->constraints;
}

void CLPProblem::add(const std::vector<CLPConstraint>& constraints)
{
    for (const CLPConstraint& constraint : constraints)
        add(constraint);
}

void CLPProblem::intVar(unsigned i, bool isInteger)
{
    lprec* const lp = ModelOf(*this, L"integer variable");
    if (!lp)
        return;
    if (i >= state_->variables)
        return Refuse(L"integer variable", L"there is no such variable");
    set_int(lp, int(i) + 1, isInteger ? TRUE : FALSE);
}

void CLPProblem::solve()
{
    lprec* const lp = ModelOf(*this, L"solve");
    if (!lp)
        return;
    set_add_rowmode(lp, FALSE);
    const int result = ::solve(lp);
    if (result != OPTIMAL && result != INFEASIBLE && result != UNBOUNDED)
    {
        KVI_LOG(kvi::diag::warning, kMath,
                L"linear programme: no definite outcome, lp_solve gives %d", result);
        return;
    }
    state_->status = result == OPTIMAL      ? CLPStatus::Optimal
                     : result == INFEASIBLE ? CLPStatus::Infeasible
                                            : CLPStatus::Unbounded;
    double* best = nullptr;
    if (get_ptr_variables(lp, &best))
        state_->solution.assign(best, best + state_->variables);
}

bool CLPProblem::IsOptimal() const { return Status() == CLPStatus::Optimal; }

CLPStatus CLPProblem::Status() const
{
    return theModel.owner == this ? state_->status : CLPStatus::NotSolved;
}

double CLPProblem::var(unsigned i) const
{
    const double none = std::numeric_limits<double>::quiet_NaN();
    if (!ModelOf(*this, L"variable"))
        return none;
    if (i >= state_->variables)
    {
        Refuse(L"variable", L"there is no such variable");
        return none;
    }
    return i < state_->solution.size() ? state_->solution[i] : 0;
}

unsigned CLPProblem::numVar() const { return state_->variables; }
unsigned CLPProblem::numCons() const { return state_->constraints; }
