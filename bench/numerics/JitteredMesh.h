/// @file
/// Finite-element systems of jittered square meshes, as the solver benchmarks take them.
#pragma once

#include "numerics/numerics_MatrixView.h"

#include <Eigen/Dense>
#include <Eigen/Sparse>

#include <cmath>
#include <functional>
#include <random>
#include <vector>

namespace jittered
{

using Matrix = Eigen::SparseMatrix<double, Eigen::RowMajor, int>;

/// A system in compressed rows with its right-hand side.
struct System
{
    Matrix A;
    Eigen::VectorXd b;

    math::impl::MatrixView View() const
    {
        return {int(A.rows()), A.outerIndexPtr(), A.innerIndexPtr(), A.valuePtr()};
    }
};

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

/// A square mesh with about @p equations equations, inner nodes moved by up to a tenth of an
/// element, the bottom fixed, numbered row by row or shuffled. Every element is multiplied by
/// k(column, row).
inline System Mesh(int equations, int nodes, int unknowns, bool isShuffled = false,
                   const std::function<double(int, int)>& k = {})
{
    const double perElement = (nodes == 8 ? 3 : 1) * unknowns;
    const int side = std::max(2, int(std::lround(std::sqrt(equations / perElement))));
    const int step = nodes == 8 ? 2 : 1, width = step * side + 1;
    std::vector<int> number(std::size_t(width * width), -1);
    int count = 0;
    for (int y = 1; y < width; ++y)
        for (int x = 0; x < width; ++x)
            if (nodes == 4 || x % 2 == 0 || y % 2 == 0)
                number[std::size_t(y * width + x)] = count++;
    std::mt19937 random(5);
    if (isShuffled)
    {
        std::vector<int> order(static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i)
            order[std::size_t(i)] = i;
        std::shuffle(order.begin(), order.end(), random);
        for (int& node : number)
            node = node < 0 ? node : order[std::size_t(node)];
    }
    std::uniform_real_distribution<double> jitter(-0.1, 0.1);
    Eigen::MatrixXd corners((side + 1) * (side + 1), 2);
    for (int i = 0; i <= side; ++i)
        for (int j = 0; j <= side; ++j)
            corners.row(i * (side + 1) + j) << j + jitter(random), i + jitter(random);

    std::vector<Eigen::Triplet<double>> entries;
    for (int ey = 0; ey < side; ++ey)
        for (int ex = 0; ex < side; ++ex)
        {
            Eigen::MatrixXd xy(nodes, 2);
            std::vector<int> equation;
            for (int a = 0; a < nodes; ++a)
            {
                const int c = kCorner[a][0], d = kCorner[a][1];
                auto corner = [&](int u, int v) {
                    return corners.row((ey + (v + 1) / 2) * (side + 1) + ex + (u + 1) / 2);
                };
                if (c == 0 || d == 0)
                    xy.row(a) = (corner(c == 0 ? -1 : c, d == 0 ? -1 : d) +
                                 corner(c == 0 ? 1 : c, d == 0 ? 1 : d)) /
                                2;
                else
                    xy.row(a) = corner(c, d);
                const int x = ex * step + (c + 1) * step / 2, y = ey * step + (d + 1) * step / 2;
                for (int u = 0; u < unknowns; ++u)
                {
                    const int node = number[std::size_t(y * width + x)];
                    equation.push_back(node < 0 ? -1 : node * unknowns + u);
                }
            }
            const Eigen::MatrixXd matrix = ElementMatrix(xy, unknowns) * (k ? k(ex, ey) : 1.0);
            for (int i = 0; i < nodes * unknowns; ++i)
                for (int j = 0; j < nodes * unknowns; ++j)
                    if (equation[std::size_t(i)] >= 0 && equation[std::size_t(j)] >= 0)
                        entries.emplace_back(equation[std::size_t(i)], equation[std::size_t(j)],
                                             matrix(i, j));
        }
    System system;
    system.A.resize(count * unknowns, count * unknowns);
    system.A.setFromTriplets(entries.begin(), entries.end());
    system.b = Eigen::VectorXd::Zero(count * unknowns);
    for (int i = 0; i < count * unknowns; ++i)
        system.b[i] = 1 + double(random() % 16) / 8;
    return system;
}

} // namespace jittered
