/// @file
/// @internal Intel MKL, found when the program runs.
#pragma once

#include "numerics/solve/Pardiso.h"

#include <optional>
#include <string>

namespace numerics
{

/// C = alpha A B + beta C in the C interface of the BLAS. Layout and transposition are the
/// interface's numbers.
template <class T>
using BlasProduct = void (*)(int layout, int transA, int transB, int m, int n, int k, T alpha,
                             const T* A, int lda, const T* B, int ldb, T beta, T* C, int ldc);

/// What the library uses of MKL.
struct Vendor
{
    PardisoFunctions solver;
    BlasProduct<double> dgemm = nullptr;
    BlasProduct<float> sgemm = nullptr;
};

/// Loads Intel MKL: one library with everything (mkl_custom), the dispatching one (mkl_rt), or the
/// separate ones. @p folder is where to look, empty for the system's own places. The libraries
/// stay loaded, for their threads cannot be stopped from outside.
/// @returns nothing when there is no MKL that can be used
std::optional<Vendor> LoadVendor(const std::wstring& folder);

/// What the first call found: looks in the folder whose absolute path the environment variable
/// KVI_MKL has, or in the folders of the program and the system, never in the current one; nothing
/// with KVI_MKL=off. A program that runs with more rights than its caller ignores the variable.
const std::optional<Vendor>& FoundVendor();

} // namespace numerics
