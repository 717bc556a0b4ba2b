/// @file
/// Eigen's fixed maps as peers of MxM_m_n_p, built once for each processor level.
#pragma once

namespace peer
{

using Product = void (*)(double* C, const double* A, const double* B);

namespace baseline
{
Product EigenMaps(int m, int n, int p);
}
namespace avx2
{
Product EigenMaps(int m, int n, int p);
}
namespace native
{
Product EigenMaps(int m, int n, int p);
}

} // namespace peer
