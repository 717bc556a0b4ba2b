// Compiled once for each processor level, PEER_LEVEL being the level's name; Eigen's own namespace
// is renamed too, for the linker would else keep one copy of its functions for all levels.
#define EIGEN_LEVEL_NAME(level) Eigen_##level
#define EIGEN_LEVEL(level) EIGEN_LEVEL_NAME(level)
#define Eigen EIGEN_LEVEL(PEER_LEVEL)
#include "numerics/MxM_peer.h"

#include <Eigen/Core>

namespace peer::PEER_LEVEL
{
namespace
{

template <int R, int C>
using Matrix = Eigen::Matrix<double, R, C, C == 1 ? Eigen::ColMajor : Eigen::RowMajor>;

template <int M, int N, int P>
void Multiply(double* C, const double* A, const double* B)
{
    Eigen::Map<Matrix<M, P>>(C).noalias() =
        Eigen::Map<const Matrix<M, N>>(A) * Eigen::Map<const Matrix<N, P>>(B);
}

constexpr struct
{
    int m, n, p;
    Product product;
} kProducts[] = {
    {2, 2, 8, Multiply<2, 2, 8>}, {2, 8, 2, Multiply<2, 8, 2>},   {3, 3, 9, Multiply<3, 3, 9>},
    {4, 4, 4, Multiply<4, 4, 4>}, {4, 4, 16, Multiply<4, 4, 16>}, {8, 1, 16, Multiply<8, 1, 16>},
    {8, 2, 2, Multiply<8, 2, 2>}, {8, 2, 8, Multiply<8, 2, 8>},   {8, 8, 1, Multiply<8, 8, 1>},
    {8, 8, 8, Multiply<8, 8, 8>}, {9, 3, 3, Multiply<9, 3, 3>},   {9, 3, 9, Multiply<9, 3, 9>},
    {9, 9, 9, Multiply<9, 9, 9>}, {16, 1, 8, Multiply<16, 1, 8>}, {16, 4, 16, Multiply<16, 4, 16>},
};

} // namespace

Product EigenMaps(int m, int n, int p)
{
    for (const auto& row : kProducts)
        if (row.m == m && row.n == n && row.p == p)
            return row.product;
    return nullptr;
}

} // namespace peer::PEER_LEVEL
