#include "numerics/math_matrix_Dispatch.h"

#include "foundation/kvidbg.h"
#include "numerics/MxM.h"
#include "numerics/solve/Vendor.h"

#include <Eigen/Core>
#include <Eigen/LU>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace math::matrix::impl
{
namespace
{

template <class T>
using Dynamic = Eigen::Matrix<T, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;
using Steps = Eigen::Stride<Eigen::Dynamic, Eigen::Dynamic>;

/// Outer step, from row to row, and inner step, from column to column.
template <class T>
Steps StepsOf(const storage::DenseConstRef<T>& view)
{
    return view.Orientation() == orientation::Type::RowMajor ? Steps(view.Stride(), 1)
                                                             : Steps(1, view.Stride());
}

template <class T>
auto Map(const storage::DenseConstRef<T>& view)
{
    return Eigen::Map<const Dynamic<T>, 0, Steps>(view.Data(), view.Rows(), view.Columns(),
                                                  StepsOf(view));
}

template <class T>
auto Map(const storage::DenseRef<T>& view)
{
    return Eigen::Map<Dynamic<T>, 0, Steps>(view.Data(), view.Rows(), view.Columns(),
                                            StepsOf<T>(view));
}

template <class T>
bool HaveOneShape(const storage::DenseConstRef<T>& a, const storage::DenseConstRef<T>& b)
{
    return a.Rows() == b.Rows() && a.Columns() == b.Columns();
}

template <class T>
bool FitProduct(const storage::DenseConstRef<T>& C, const storage::DenseConstRef<T>& A,
                const storage::DenseConstRef<T>& B)
{
    return A.Columns() == B.Rows() && C.Rows() == A.Rows() && C.Columns() == B.Columns();
}

/// C = A B through MxM, when it can.
bool MultiplyPacked(const storage::DenseRef<double>& C, const storage::DenseConstRef<double>& A,
                    const storage::DenseConstRef<double>& B)
{
    const bool alike = C.IsPacked() && A.IsPacked() && B.IsPacked() &&
                       A.Orientation() == C.Orientation() && B.Orientation() == C.Orientation();
    if (!alike || C.Data() == A.Data() || C.Data() == B.Data())
        return false;
    // Column by column, C = A B reads as its transpose row by row: C' = B' A'.
    if (C.Orientation() == orientation::Type::RowMajor)
        MxM(C.Data(), A.Data(), B.Data(), A.Rows(), A.Columns(), B.Columns());
    else
        MxM(C.Data(), B.Data(), A.Data(), B.Columns(), A.Columns(), A.Rows());
    return true;
}

bool MultiplyPacked(const storage::DenseRef<float>&, const storage::DenseConstRef<float>&,
                    const storage::DenseConstRef<float>&)
{
    return false;
}

/// Number of multiplications from which MKL's threads are worth it.
constexpr double kWorthVendor = 8e6;

numerics::BlasProduct<double> VendorProduct(const numerics::Vendor& vendor, double)
{
    return vendor.dgemm;
}
numerics::BlasProduct<float> VendorProduct(const numerics::Vendor& vendor, float)
{
    return vendor.sgemm;
}

/// C = alpha A B + beta C by the vendor's product, when it is there and the size is worth it.
template <class T>
bool MultiplyByVendor(T alpha, const storage::DenseConstRef<T>& A,
                      const storage::DenseConstRef<T>& B, T beta, const storage::DenseRef<T>& C)
{
    constexpr int kRowMajor = 101, kColumnMajor = 102, kAsItIs = 111, kTransposed = 112;
    if (double(A.Rows()) * A.Columns() * B.Columns() < kWorthVendor)
        return false;
    const auto& vendor = numerics::FoundVendor();
    const auto product = vendor ? VendorProduct(*vendor, T()) : nullptr;
    if (product == nullptr || C.Data() == A.Data() || C.Data() == B.Data())
        return false;
    const auto how = [&](const auto& operand) {
        return operand.Orientation() == C.Orientation() ? kAsItIs : kTransposed;
    };
    product(C.Orientation() == orientation::Type::RowMajor ? kRowMajor : kColumnMajor, how(A),
            how(B), C.Rows(), C.Columns(), A.Columns(), alpha, A.Data(), A.Stride(), B.Data(),
            B.Stride(), beta, C.Data(), C.Stride());
    return true;
}

/// The factors; regular unless a pivot is zero or not finite.
template <class T>
class Factors
{
public:
    explicit Factors(const storage::DenseConstRef<T>& A) : lu_(Map(A))
    {
        const auto pivots = lu_.matrixLU().diagonal();
        for (Eigen::Index i = 0; i < pivots.size(); ++i)
            isRegular_ = isRegular_ && std::isfinite(pivots[i]) && pivots[i] != 0;
    }
    bool IsRegular() const { return isRegular_; }
    const auto& Lu() const { return lu_; }

private:
    Eigen::PartialPivLU<Dynamic<T>> lu_;
    bool isRegular_ = true;
};

} // namespace

bool IsPossibleSize(int rows, int columns, std::size_t bytes)
{
    constexpr std::uint64_t kMost = std::numeric_limits<std::ptrdiff_t>::max();
    if (rows >= 0 && columns >= 0 && std::uint64_t(rows) * unsigned(columns) <= kMost / bytes)
        return true;
    KVI_LOG(kvi::diag::error, kvi::diag::kMathCategory,
            "a matrix of %d x %d elements is impossible", rows, columns);
    return false;
}

template <class T>
bool Dispatch<T>::add(Result C, Operand A, Operand B)
{
    if (!HaveOneShape<T>(C, A) || !HaveOneShape(A, B))
        return false;
    Map(C) = Map(A) + Map(B);
    return true;
}

template <class T>
bool Dispatch<T>::sub(Result C, Operand A, Operand B)
{
    if (!HaveOneShape<T>(C, A) || !HaveOneShape(A, B))
        return false;
    Map(C) = Map(A) - Map(B);
    return true;
}

template <class T>
bool Dispatch<T>::mm(Result C, Operand A, Operand B)
{
    if (!FitProduct<T>(C, A, B))
        return false;
    if (!MultiplyPacked(C, A, B) && !MultiplyByVendor<T>(1, A, B, 0, C))
        Map(C) = Map(A) * Map(B);
    return true;
}

template <class T>
bool Dispatch<T>::gemm(T alpha, Operand A, Operand B, T beta, Result C)
{
    if (!FitProduct<T>(C, A, B))
        return false;
    if (MultiplyByVendor(alpha, A, B, beta, C))
        return true;
    std::vector<T> kept(std::size_t(C.Rows()) * std::size_t(C.Columns()));
    const storage::DenseRef<T> AB(kept.data(), C.Rows(), C.Columns(), C.Orientation());
    mm(AB, A, B);
    if (beta == 0)
        Map(C) = alpha * Map(AB);
    else
        Map(C) = alpha * Map(AB) + beta * Map(C);
    return true;
}

template <class T>
T Dispatch<T>::det(Operand A)
{
    if (A.Rows() != A.Columns())
        return std::numeric_limits<T>::quiet_NaN();
    switch (A.Rows())
    {
    case 0:
        return 1;
    case 1:
        return A(0, 0);
    case 2:
        return A(0, 0) * A(1, 1) - A(0, 1) * A(1, 0);
    case 3:
        return A(0, 0) * (A(1, 1) * A(2, 2) - A(1, 2) * A(2, 1)) -
               A(0, 1) * (A(1, 0) * A(2, 2) - A(2, 0) * A(1, 2)) +
               A(0, 2) * (A(1, 0) * A(2, 1) - A(2, 0) * A(1, 1));
    default:
        return Factors<T>(A).Lu().determinant();
    }
}

template <class T>
bool Dispatch<T>::inv(Result Inv, Operand A)
{
    if (A.Rows() != A.Columns() || !HaveOneShape<T>(Inv, A))
        return false;
    if (A.Rows() == 0)
        return true;
    const Factors<T> factors(A);
    if (factors.IsRegular())
        Map(Inv) = factors.Lu().inverse();
    return factors.IsRegular();
}

template <class T>
bool Dispatch<T>::solve(Result X, Operand A, Operand B)
{
    if (A.Rows() != A.Columns() || A.Rows() != B.Rows() || !HaveOneShape<T>(X, B))
        return false;
    if (A.Rows() == 0 || B.Columns() == 0)
        return true;
    const Factors<T> factors(A);
    if (factors.IsRegular())
        Map(X) = factors.Lu().solve(Map(B)).eval();
    return factors.IsRegular();
}

template struct Dispatch<double>;
template struct Dispatch<float>;

} // namespace math::matrix::impl
