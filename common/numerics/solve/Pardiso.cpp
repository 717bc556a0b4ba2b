#include "numerics/solve/Pardiso.h"

#include "numerics/system/Verdict.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace numerics
{
namespace
{

/// Nonzero parameters by zero-based index.
constexpr std::pair<int, int> kParameters[] = {
    {0, 1},   // the values below are supplied
    {1, 3},   // ordering: parallel nested dissection
    {9, 13},  // pivots are perturbed by 1e-13
    {10, 1},  // scaling
    {12, 1},  // weighted matching
    {17, -1}, // report the non-zeros of the factors
    {18, -1}, // report the operations
    {20, 1},  // Bunch-Kaufman pivots for symmetric indefinite matrices
    {23, 1},  // two-level parallel factorisation
    {26, 1},  // check the matrix
};

constexpr int kAnalyseFactoriseSolve = 13;
constexpr int kReleaseAll = -1;
constexpr int kRealNonSymmetric = 11;
constexpr int kInconsistent = -1;
constexpr int kNoMemory = -2;

const wchar_t* ErrorText(int error)
{
    switch (error)
    {
    case kInconsistent:
        return L"the input is inconsistent";
    case kNoMemory:
        return L"not enough memory";
    case -3:
        return L"the reordering failed";
    case -4:
        return L"a pivot is zero: the matrix is singular";
    case -7:
        return L"the diagonal is singular";
    case -8:
        return L"the matrix is too large for 32-bit indices";
    default:
        return L"see the solver's manual";
    }
}

/// First equation without an entry in its row or in its column, -1 when there is none.
int EmptyRowOrColumn(const std::vector<int>& ia, const std::vector<int>& ja)
{
    const int n = int(ia.size()) - 1;
    std::vector<char> used(std::size_t(n), 0);
    for (const int column : ja)
        used[std::size_t(column - 1)] = 1;
    for (int i = 0; i < n; ++i)
        if (ia[std::size_t(i)] == ia[std::size_t(i) + 1] || !used[std::size_t(i)])
            return i;
    return -1;
}

} // namespace

const PardisoFunctions& BuiltInPardiso()
{
    static const PardisoFunctions functions{nullptr, nullptr, nullptr, L"built in"};
    return functions;
}

Pardiso::~Pardiso() { Release(); }

void Pardiso::SetUp()
{
    Release();
    std::fill(std::begin(pt_), std::end(pt_), nullptr);
    std::fill(std::begin(iparm_), std::end(iparm_), 0);
    for (const auto& [place, value] : kParameters)
        iparm_[place] = value;
    maxfct_ = 1;
    mnum_ = 1;
    phase_ = kAnalyseFactoriseSolve;
    perm_ = 0;
    nrhs_ = 1;
    msglvl_ = 0;
    error_ = 0;
}

/// One-based compressed rows without explicit zeros; every row, empty or not, gets its start.
void Pardiso::Convert(const MatrixView& A)
{
    const int stored = A.n > 0 ? A.rowStart[A.n] : 0;
    a_.resize(std::size_t(stored));
    ja_.resize(std::size_t(stored));
    ia_.resize(std::size_t(A.n) + 1);
    int count = 0;
    for (int i = 0; i < A.n; ++i)
    {
        ia_[std::size_t(i)] = count + 1;
        for (int k = A.rowStart[i]; k < A.rowStart[i + 1]; ++k)
        {
            a_[std::size_t(count)] = A.values[k];
            ja_[std::size_t(count)] = A.columns[k] + 1;
            count += A.values[k] != 0.0;
        }
    }
    ia_[std::size_t(A.n)] = count + 1;
    a_.resize(std::size_t(count));
    ja_.resize(std::size_t(count));
}

void Pardiso::Call(int n, const double* a, const int* ia, const int* ja, double* b, double* x)
{
    functions_->pardiso(pt_, &maxfct_, &mnum_, &mtype_, &phase_, &n, a, ia, ja, &perm_, &nrhs_,
                        iparm_, &msglvl_, b, x, &error_);
}

/// Describes the error and the equation that seems to cause it.
void Pardiso::Explain(SolveRecord& record) const
{
    constexpr int kZeroPivot = -4, kSingularDiagonal = -7;
    record.outcome = SolveOutcome::Failed;
    if (error_ == kNoMemory)
        record.outcome = SolveOutcome::TooLarge;
    else if (error_ == kZeroPivot || error_ == kSingularDiagonal)
        record.outcome = SolveOutcome::Singular;
    record.reason = L"error " + std::to_wstring(error_) + L": " + ErrorText(error_);
    record.equation = EmptyRowOrColumn(ia_, ja_);
    if (record.equation >= 0)
    {
        record.outcome = SolveOutcome::Singular;
        record.looseModes = 1;
        record.reason += L"; the row or column of the equation is empty";
    }
}

SolveRecord Pardiso::SolveAsStored(const MatrixView& A, const double* b, double* x)
{
    SolveRecord record = functions_->distributed != nullptr
                             ? distributed_.Solve(*functions_->distributed, A, b, x)
                             : own_.Solve(A, b, x);
    record.method = SolveMethod::Pardiso;
    record.solver = L"pardiso (" + functions_->name + L")";
    held_ = true;
    heldEquations_ = A.n;
    constexpr int kZeroPivot = -4, kOther = -6;
    if (record.outcome == SolveOutcome::TooLarge)
        error_ = kNoMemory;
    else if (record.outcome == SolveOutcome::Failed)
        error_ = kOther;
    else if (record.outcome == SolveOutcome::Singular)
        error_ = kZeroPivot;
    return record;
}

SolveRecord Pardiso::Solve(const MatrixView& A, const double* b, double* x)
{
    SolveRecord record;
    record.method = SolveMethod::Pardiso;
    // A factorisation of another size belongs to a system that no longer exists.
    if (maxfct_ == 0 || (held_ && heldEquations_ != A.n))
        SetUp();
    if (!held_)
        functions_ = &ActivePardiso();
    record.solver = L"pardiso (" + functions_->name + L")";
    mtype_ = kRealNonSymmetric;
    phase_ = kAnalyseFactoriseSolve;
    error_ = 0;
    // Entries that a failed solve does not write must not keep an earlier solution.
    std::fill(x, x + A.n, std::numeric_limits<double>::quiet_NaN());
    if (const int bad = FirstNotFinite(A, b); bad >= 0)
    {
        error_ = kInconsistent;
        return RefuseNotFinite(bad, std::move(record));
    }
    if (functions_->pardiso == nullptr)
        return SolveAsStored(A, b, x);
    Convert(A);
    if (A.n == 0) // the vendor refuses an empty system
        return record;
    // The vendor's prototype is not const, but the right-hand side is only read.
    Call(A.n, a_.data(), ia_.data(), ja_.data(), const_cast<double*>(b), x);
    held_ = true;
    heldEquations_ = A.n;
    if (error_ != 0)
        Explain(record);
    Vec r(std::size_t(A.n));
    Judge(A, MeasureErrors(A, b, x, r.data()), record);
    return record;
}

void Pardiso::Release()
{
    if (!held_)
        return;
    phase_ = kReleaseAll;
    own_.Clear();
    distributed_.Clear();
    if (functions_->pardiso != nullptr)
        Call(0, nullptr, nullptr, nullptr, nullptr, nullptr);
    held_ = false;
}

} // namespace numerics
