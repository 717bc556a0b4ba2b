/// @file
/// The sparse direct solver behind SolveForUnknownVector_PARDISO: its name, threads and memory.
#pragma once

#include "foundation/kvi_export.h"

#include <string>

namespace math
{

/// The name of the solver: "pardiso (built in)", the library's own solver, or with the environment
/// variable KVI_SOLVER=vendor "pardiso (mkl 2020.4)" when Intel MKL is found. MKL is searched once,
/// at the first use: in the folder named by the environment variable KVI_MKL, or in the system's
/// library path; KVI_MKL=off disables the search.
///
/// With KVI_SOLVER=mumps the name is "pardiso (mumps 5.5.1, 4 processes)" when libKVI_mumps, a part
/// of the library for Linux, is found at the first use: in the folder named by KVI_MUMPS, beside
/// this library or in the system's library path. Otherwise the built-in solver runs, and a warning
/// in the log says why.
KVI_API std::wstring SparseSolverName();

/// Threads that MKL uses from now on in the whole process, at least 1. The built-in solver has
/// those of ISysEqnImpl::SetThreads.
KVI_API void SetSparseSolverThreads(int threads);

/// Frees the memory that MKL keeps for later calls. Release the systems first; not while any thread
/// solves.
KVI_API void FreeSparseSolverMemory();

} // namespace math
