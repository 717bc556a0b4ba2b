/// @file
/// Dense matrices of any size, owning their elements.
#pragma once

#include "numerics/math_matrix_Dispatch.h"
#include "numerics/math_matrix_storage.h"

#include <cstddef>
#include <initializer_list>
#include <optional>
#include <vector>

namespace math::matrix
{

/// A rows x columns matrix of double or float, row-major and packed.
///
/// Sums and products of incompatible shapes give the empty matrix, 0 x 0.
/// @code
/// const Matrix<double> A(2, 2, {2, 1, 1, 3}), b(2, 1, {3, 5});
/// if (const auto x = Solve(A, b))
///     Use((*x)(0, 0));
/// @endcode
template <class T>
class Matrix
{
public:
    Matrix() = default;
    /// All zero. A negative size, or more elements than memory can address, is refused with a log
    /// record: the matrix is then empty, 0 x 0. Memory that runs out throws std::bad_alloc.
    Matrix(int rows, int columns)
    {
        if (!impl::IsPossibleSize(rows, columns, sizeof(T)))
            return;
        elements_.resize(std::size_t(rows) * std::size_t(columns));
        rows_ = rows;
        columns_ = columns;
    }
    /// @param elements  row by row; missing ones are zero, surplus ones are dropped
    Matrix(int rows, int columns, std::initializer_list<T> elements) : Matrix(rows, columns)
    {
        for (std::size_t i = 0; i < elements.size() && i < elements_.size(); ++i)
            elements_[i] = elements.begin()[i];
    }

    int Rows() const { return rows_; }       ///< number of rows
    int Columns() const { return columns_; } ///< number of columns
    /// @{
    /// The element in row i and column j, from 0; checked by assertions only.
    T& operator()(int i, int j) { return Ref()(i, j); }
    /// The same of a constant matrix.
    const T& operator()(int i, int j) const { return Ref()(i, j); }
    /// @}

    /// @{
    /// A view of the elements, valid until this matrix is assigned to or destroyed.
    storage::DenseRef<T> Ref() { return {elements_.data(), rows_, columns_}; }
    /// The same of a constant matrix.
    storage::DenseConstRef<T> Ref() const { return {elements_.data(), rows_, columns_}; }
    /// @}

    /// Same sizes and elements.
    bool operator==(const Matrix&) const = default;

private:
    int rows_ = 0, columns_ = 0;
    std::vector<T> elements_;
};

/// A + B; their sizes are the same.
template <class T>
Matrix<T> operator+(const Matrix<T>& A, const Matrix<T>& B)
{
    Matrix<T> C(A.Rows(), A.Columns());
    return impl::Dispatch<T>::add(C.Ref(), A.Ref(), B.Ref()) ? C : Matrix<T>();
}

/// A - B; their sizes are the same.
template <class T>
Matrix<T> operator-(const Matrix<T>& A, const Matrix<T>& B)
{
    Matrix<T> C(A.Rows(), A.Columns());
    return impl::Dispatch<T>::sub(C.Ref(), A.Ref(), B.Ref()) ? C : Matrix<T>();
}

/// A B; A has as many columns as B has rows.
template <class T>
Matrix<T> operator*(const Matrix<T>& A, const Matrix<T>& B)
{
    Matrix<T> C(A.Rows(), B.Columns());
    return impl::Dispatch<T>::mm(C.Ref(), A.Ref(), B.Ref()) ? C : Matrix<T>();
}

/// 1 of the empty matrix, NaN of one that is not square.
template <class T>
T Determinant(const Matrix<T>& A)
{
    return impl::Dispatch<T>::det(A.Ref());
}

/// Nothing when A is not square, or singular: a pivot is exactly zero or not finite.
template <class T>
std::optional<Matrix<T>> Inverse(const Matrix<T>& A)
{
    Matrix<T> inverse(A.Rows(), A.Columns());
    if (!impl::Dispatch<T>::inv(inverse.Ref(), A.Ref()))
        return std::nullopt;
    return inverse;
}

/// X with A X = B, column by column; nothing when A is not square or singular, or B has not its
/// number of rows.
template <class T>
std::optional<Matrix<T>> Solve(const Matrix<T>& A, const Matrix<T>& B)
{
    Matrix<T> X(B.Rows(), B.Columns());
    if (!impl::Dispatch<T>::solve(X.Ref(), A.Ref(), B.Ref()))
        return std::nullopt;
    return X;
}

} // namespace math::matrix
