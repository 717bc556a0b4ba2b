#include "Factorisation.h"

#include "platform/platform_memory.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace mumps
{
namespace
{

using numerics::DistributedReport;
using numerics::DistributedResult;

// Values of "job".
constexpr int kCreate = -1, kDestroy = -2, kAnalyse = 1, kFactorise = 2, kSolve = 3;
constexpr double kMegabyte = 1e6; // MUMPS's unit of memory

/// Control parameters by their number in MUMPS's manual; the others keep their defaults.
struct Control
{
    int number, value;
};
constexpr Control kControls[] = {
    {1, -1}, // no error messages on the console
    {2, -1}, // no diagnostics
    {3, -1}, // no global information
    {4, 0},  // print nothing
    {5, 0},  // an assembled matrix
    {10, 0}, // no refinement, which the library does itself
    {13, 1}, // the root front by the same elimination, so that its null pivots are found
    {18, 0}, // the engine has the matrix
    {20, 0}, // and dense right-hand sides
    {21, 0}, // and receives the solution
};
constexpr int kUnit = -1; ///< the place of a 1 on the diagonal of a row without positions
constexpr int kSpare = 14, kNullPivots = 24, kNullVector = 25;
/// A pivot below this part of the scaled matrix's norm has vanished (CNTL(3)).
constexpr double kVanished = 1e-14;

struct Meaning
{
    int error;
    DistributedResult result;
    bool needsSpare;
    const char* text; // one %d for INFOG(2) at most
};

/// Values of INFOG(1).
constexpr Meaning kMeanings[] = {
    {-5, numerics::kDistributedTooLarge, false, "not enough memory for the analysis"},
    {-6, numerics::kDistributedSingular, false,
     "the matrix is singular whatever its values: its structural rank is %d"},
    {-7, numerics::kDistributedTooLarge, false, "not enough memory for the analysis"},
    {-8, numerics::kDistributedTooLarge, true, "the integer workspace is too small"},
    {-9, numerics::kDistributedTooLarge, true, "the workspace of the factors is too small"},
    {-10, numerics::kDistributedSingular, false,
     "a pivot is zero: the matrix is singular, %d pivots were eliminated"},
    {-11, numerics::kDistributedTooLarge, false, "the workspace of the solution is too small"},
    {-13, numerics::kDistributedTooLarge, false, "not enough memory"},
    {-16, numerics::kDistributedFailed, false, "the number of equations is out of range"},
    {-17, numerics::kDistributedTooLarge, true, "the buffer for sending is too small"},
    {-19, numerics::kDistributedTooLarge, false, "more memory is needed than allowed"},
    {-20, numerics::kDistributedTooLarge, true, "the buffer for receiving is too small"},
    {-51, numerics::kDistributedTooLarge, false, "the graph is too large for the ordering"},
    {-52, numerics::kDistributedTooLarge, false, "the graph is too large for 32-bit orderings"},
};
constexpr Meaning kOther = {0, numerics::kDistributedFailed, false, "see MUMPS's manual"};

const Meaning& MeaningOf(int error)
{
    for (const Meaning& meaning : kMeanings)
        if (meaning.error == error)
            return meaning;
    return kOther;
}

} // namespace

Factorisation::Factorisation(const Processes& processes, bool isSymmetric) : processes_(processes)
{
    mumps_.par = 1; // the engine works too
    mumps_.sym = isSymmetric ? 2 : 0;
    mumps_.comm_fortran = MUMPS_INT(MPI_Comm_c2f(processes.Work()));
    Run(kCreate);
    for (const Control& control : kControls)
        mumps_.icntl[control.number - 1] = control.value;
    mumps_.cntl[3 - 1] = kVanished;
}

Factorisation::~Factorisation() { Run(kDestroy); }

void Factorisation::Run(int job)
{
    mumps_.job = job;
    dmumps_c(&mumps_);
}

void Factorisation::SetMatrix(const numerics::DistributedMatrix& A)
{
    const auto add = [this](int i, int j, int place) {
        rows_.push_back(i + 1);
        columns_.push_back(j + 1);
        places_.push_back(place);
    };
    for (int i = 0; i < A.n; ++i)
    {
        if (A.rowStart[i] == A.rowStart[i + 1])
            add(i, i, kUnit);
        for (int k = A.rowStart[i]; k < A.rowStart[i + 1]; ++k)
            if (A.isSymmetric == 0 || A.columns[k] <= i)
                add(i, A.columns[k], k);
    }
    mumps_.n = A.n;
    mumps_.nnz = MUMPS_INT8(rows_.size());
    mumps_.irn = rows_.data();
    mumps_.jcn = columns_.data();
    SetValues(A.values);
}

void Factorisation::SetValues(const double* values)
{
    values_.resize(places_.size());
    for (std::size_t k = 0; k < places_.size(); ++k)
        values_[k] = places_[k] == kUnit ? 1.0 : values[places_[k]];
    mumps_.a = values_.data();
}

bool Factorisation::HasRoomToOrder() const
{
    // More than was found necessary: by a fifth for lines, by half to three times for grids.
    constexpr double kPerEntry = 12, kPerEquation = 24, kMargin = 1 << 24;
    const double integers = kPerEntry * double(mumps_.nnz) + kPerEquation * mumps_.n;
    return integers * sizeof(MUMPS_INT) + kMargin <= double(platform::AvailableMemory());
}

void Factorisation::Analyse() { Run(kAnalyse); }

void Factorisation::Factorise(bool findsNullPivots, int spare)
{
    // INFO(15) is this process's part of the factorisation with the usual spare memory.
    constexpr double kUsualSpare = 20;
    const double needed = mumps_.info[15 - 1] * kMegabyte * (100 + spare) / (100 + kUsualSpare);
    const double free = double(platform::AvailableMemory()) + held_;
    isRefused_ = !processes_.HasRoom(needed, free, noRoom_);
    if (isRefused_)
        return;
    mumps_.icntl[kSpare - 1] = spare;
    mumps_.icntl[kNullPivots - 1] = findsNullPivots ? 1 : 0;
    Run(kFactorise);
    held_ = mumps_.infog[0] < 0 ? 0 : mumps_.info[22 - 1] * kMegabyte;
    if (processes_.IsEngine() && !NeedsSpare())
        values_ = {};
}

void Factorisation::Solve(bool forNullVector)
{
    mumps_.nrhs = 1;
    mumps_.lrhs = mumps_.n;
    mumps_.icntl[kNullVector - 1] = forNullVector ? 1 : 0;
    Run(kSolve);
    mumps_.icntl[kNullVector - 1] = 0;
}

DistributedResult Factorisation::Result() const
{
    if (isRefused_)
        return numerics::kDistributedTooLarge;
    const int error = mumps_.infog[0];
    return error >= 0 ? numerics::kDistributedDone : MeaningOf(error).result;
}

bool Factorisation::NeedsSpare() const
{
    return !isRefused_ && MeaningOf(mumps_.infog[0]).needsSpare;
}

void Factorisation::Describe(DistributedReport& report) const
{
    const int error = mumps_.infog[0];
    report.text[0] = '\0';
    if (isRefused_)
        std::snprintf(report.text, sizeof report.text, "%s", noRoom_.c_str());
    else if (error < 0)
    {
        // INFO(1) is -1 where another process met the error, the one whose rank is in INFO(2).
        const int rank = mumps_.info[0] == -1 ? mumps_.info[1] : 0;
        const std::string where =
            Result() == numerics::kDistributedTooLarge ? " in " + processes_.Name(rank) : "";
        const int used =
            std::snprintf(report.text, sizeof report.text, "MUMPS error %d (%d)%s: ", error,
                          mumps_.infog[1], where.c_str());
        std::snprintf(report.text + used, sizeof report.text - std::size_t(used),
                      MeaningOf(error).text, mumps_.infog[1]);
    }
    else if (mumps_.job == kFactorise)
    {
        report.nullPivots = mumps_.infog[28 - 1];
        report.mostBytes = mumps_.infog[21 - 1] * kMegabyte;
        report.totalBytes = mumps_.infog[22 - 1] * kMegabyte;
    }
}

void Execute(const Processes& processes, const Order& order, Factorisations& all)
{
    std::unique_ptr<Factorisation>& system = all[order.system];
    switch (order.step)
    {
    case Step::Create:
        system = std::make_unique<Factorisation>(processes, order.isSymmetric != 0);
        break;
    case Step::Analyse:
        system->Analyse();
        break;
    case Step::Factorise:
        system->Factorise(order.findsNullPivots != 0, order.spare);
        break;
    case Step::Solve:
    case Step::NullVector:
        system->Solve(order.step == Step::NullVector);
        break;
    case Step::Destroy:
    case Step::End:
        all.erase(order.system);
        break;
    }
}

} // namespace mumps
