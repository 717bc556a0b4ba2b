/// @file
/// The operations behind math::matrix, for double and float.
#pragma once

#include "foundation/kvi_export.h"
#include "numerics/math_matrix_storage.h"

namespace math::matrix::impl
{

/// Whether memory can address rows x columns elements of @p bytes bytes each; otherwise, and for
/// negative sizes, writes a log record.
KVI_API bool IsPossibleSize(int rows, int columns, std::size_t bytes);

/// Operations on views; exported because Matrix, a template, is written with them.
///
/// Incompatible shapes give false and leave the result unchanged. A result may be the very view of
/// an operand, but not overlap one otherwise.
template <class T>
struct KVI_API Dispatch
{
    /// View of a result.
    using Result = storage::DenseRef<T>;
    /// View of an operand.
    using Operand = storage::DenseConstRef<T>;

    /// C = A + B.
    static bool add(Result C, Operand A, Operand B);
    /// C = A - B.
    static bool sub(Result C, Operand A, Operand B);
    /// C = A B. Packed matrices of double, all of one orientation, go to MxM: the bits are then
    /// those of its order of summation. Others go to a blocked product with an order of its own:
    /// from 200 x 200 x 200 on that of MKL where it is found (see SparseSolverName), with the
    /// threads that it has.
    static bool mm(Result C, Operand A, Operand B);
    /// C = alpha A B + beta C; C is not read when beta is 0. Large products go to MKL as above,
    /// others through mm, so memory for one more C is taken.
    static bool gemm(T alpha, Operand A, Operand B, T beta, Result C);
    /// Determinant: by expansion up to 3 x 3, else the product of the pivots of the factors LU
    /// with row interchanges. 1 of the empty matrix, NaN of one that is not square.
    static T det(Operand A);
    /// Inv = the inverse of A, by LU with row interchanges. False, with nothing written, when a
    /// pivot is exactly zero or not finite; a matrix that is singular but for rounding gives an
    /// inverse of huge elements.
    static bool inv(Result Inv, Operand A);
    /// Solves A X = B for every column of B, under the rules of inv.
    static bool solve(Result X, Operand A, Operand B);
};

extern template struct Dispatch<double>;
extern template struct Dispatch<float>;

} // namespace math::matrix::impl
