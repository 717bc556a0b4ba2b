/// @file
/// The matrix of a four- or eight-node element, for the meshes of the benchmarks.
#pragma once

#include <Eigen/Dense>

#include <cmath>
#include <cstddef>
#include <vector>

namespace fe_mesh
{

/// Places of the eight nodes on the reference square, corners first.
constexpr int kCorner[8][2] = {{-1, -1}, {1, -1}, {1, 1}, {-1, 1},
                               {0, -1},  {1, 0},  {0, 1}, {-1, 0}};

/// Derivatives of the four- or eight-node shape functions at (s, t), 2 x nodes.
inline Eigen::MatrixXd Derivatives(int nodes, double s, double t)
{
    Eigen::MatrixXd d(2, nodes);
    const bool isQuadratic = nodes == 8;
    for (int a = 0; a < nodes; ++a)
    {
        const double p = kCorner[a][0], q = kCorner[a][1];
        if (a < 4 && !isQuadratic)
            d.col(a) << p * (1 + q * t) / 4, q * (1 + p * s) / 4;
        else if (a < 4)
            d.col(a) << p * (1 + q * t) * (2 * p * s + q * t) / 4,
                q * (1 + p * s) * (2 * q * t + p * s) / 4;
        else if (p == 0)
            d.col(a) << -s * (1 + q * t), q * (1 - s * s) / 2;
        else
            d.col(a) << p * (1 - t * t) / 2, -t * (1 + p * s);
    }
    return d;
}

/// Flow (one unknown) or plane strain (two, Poisson's ratio 0.3) of the element with these
/// coordinates, 2 x 2 or 3 x 3 Gauss points.
inline Eigen::MatrixXd ElementMatrix(const Eigen::MatrixXd& xy, int unknowns)
{
    const int nodes = int(xy.rows());
    Eigen::MatrixXd k = Eigen::MatrixXd::Zero(nodes * unknowns, nodes * unknowns);
    const double g = std::sqrt(nodes == 8 ? 0.6 : 1.0 / 3);
    const std::vector<double> points =
        nodes == 8 ? std::vector<double>{-g, 0, g} : std::vector<double>{-g, g};
    const std::vector<double> weights =
        nodes == 8 ? std::vector<double>{5 / 9., 8 / 9., 5 / 9.} : std::vector<double>{1, 1};
    Eigen::Matrix3d D;
    D << 0.7, 0.3, 0, 0.3, 0.7, 0, 0, 0, 0.2;
    for (std::size_t i = 0; i < points.size(); ++i)
        for (std::size_t j = 0; j < points.size(); ++j)
        {
            const Eigen::MatrixXd local = Derivatives(nodes, points[i], points[j]);
            const Eigen::Matrix2d jacobian = local * xy;
            const Eigen::MatrixXd d = jacobian.inverse() * local;
            const double w = weights[i] * weights[j] * jacobian.determinant();
            if (unknowns == 1)
            {
                k += w * d.transpose() * d;
                continue;
            }
            Eigen::MatrixXd B = Eigen::MatrixXd::Zero(3, 2 * nodes);
            for (int a = 0; a < nodes; ++a)
            {
                B(0, 2 * a) = B(2, 2 * a + 1) = d(0, a);
                B(1, 2 * a + 1) = B(2, 2 * a) = d(1, a);
            }
            k += w * B.transpose() * D * B;
        }
    return k;
}

} // namespace fe_mesh
