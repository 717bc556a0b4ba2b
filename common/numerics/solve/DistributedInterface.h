/// @file
/// @internal The binary interface between the library and a direct solver over several processes,
/// which lives in a library of its own that is loaded at run time. Neutral: it knows no MPI.
#pragma once

namespace numerics
{

/// Raised whenever anything below changes.
constexpr unsigned kDistributedVersion = 1;

/// How a call ended.
enum DistributedResult : int
{
    kDistributedDone,
    kDistributedSingular, ///< a pivot vanished, or the pattern alone makes the matrix singular
    kDistributedTooLarge, ///< for the memory or for the solver's integers
    kDistributedFailed    ///< anything else, such as a process that does not answer
};

/// What a call found.
struct DistributedReport
{
    int nullPivots = 0;      ///< vanishing pivots that the factorisation replaced
    double mostBytes = 0;    ///< of the factorisation in the process with the most
    double totalBytes = 0;   ///< in all processes together
    char text[512] = {'\0'}; ///< UTF-8: why a call failed
};

/// A matrix in compressed rows, zero-based, columns ascending. Where it is symmetric the values
/// below the diagonal are the ones that count; a row without positions has a 1 on the diagonal.
struct DistributedMatrix
{
    int n;
    const int* rowStart;
    const int* columns;
    const double* values;
    int isSymmetric;
};

/// The functions of such a solver. None throws; calls from several threads are serialised. The
/// systems of the caller's process alone are solved; the other processes only help.
struct DistributedFunctions
{
    unsigned version; ///< kDistributedVersion; checked before anything else is read
    const char* name; ///< such as "mumps 5.5.1"
    /// Starts the communication, or finds it started.
    /// @param[out] processes  those that solve, this one included
    DistributedResult (*connect)(int* processes, DistributedReport* report);
    /// Analyses the pattern; the values choose row exchanges and scaling.
    /// @param[out] system  the new system; written only when done
    DistributedResult (*analyse)(const DistributedMatrix* A, void** system,
                                 DistributedReport* report);
    /// Factorises values in the pattern analysed; the factor stays distributed over the processes.
    /// @param findsNullPivots  vanishing pivots are counted and replaced; otherwise they end it
    DistributedResult (*factorise)(void* system, const double* values, int findsNullPivots,
                                   DistributedReport* report);
    /// x = A^-1 x with the current factor, n values.
    DistributedResult (*solve)(void* system, double* x, DistributedReport* report);
    /// A vector that the current factor takes for one of A's null space, where it has null pivots.
    DistributedResult (*nullVector)(void* system, double* z, DistributedReport* report);
    /// Frees the system in all processes; null is allowed.
    void (*destroy)(void* system);
};

/// The one function that the solver's library exports, in C linkage.
using DistributedEntry = const DistributedFunctions* (*)();
constexpr const char* kDistributedEntry = "KviDistributedFunctions";

} // namespace numerics
