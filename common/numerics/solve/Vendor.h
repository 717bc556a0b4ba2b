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

/// The functions of MKL that the library uses.
struct Vendor
{
    PardisoFunctions solver;
    BlasProduct<double> dgemm = nullptr;
    BlasProduct<float> sgemm = nullptr;
};

/// Loads Intel MKL: one library with everything (mkl_custom), the dispatching one (mkl_rt), or the
/// separate ones. @p folder is searched, or the system's library path if it is empty. The libraries
/// stay loaded, since their threads cannot be stopped from outside.
/// @returns nothing when no usable MKL is found
std::optional<Vendor> LoadVendor(const std::wstring& folder);

/// The result of the first call, which searches the folder whose absolute path is in the
/// environment variable KVI_MKL, or in the folders of the program and the system, never in the
/// current one; nothing with KVI_MKL=off. A program that runs with more rights than its caller
/// ignores the variable.
const std::optional<Vendor>& FoundVendor();

} // namespace numerics
