/// @file
/// Systems of equations for the tests: grids of quadrilaterals with random element matrices.
#pragma once

#include "numerics/ISysEqnImpl.h"

#include <Eigen/Dense>

#include <algorithm>
#include <numeric>
#include <random>
#include <vector>

namespace filled_system
{

enum class Kind
{
    Definite,
    Indefinite,
    NonSymmetric
};

/// A grid of nx x ny four-node elements; shuffled equations unless seed is 0.
inline tagMultiVectorInt Grid(int nx, int ny, int perNode, unsigned seed)
{
    const int nodes = (nx + 1) * (ny + 1);
    std::vector<int> number(std::size_t(nodes * perNode));
    std::iota(number.begin(), number.end(), 0);
    if (seed != 0)
        std::shuffle(number.begin(), number.end(), std::mt19937(seed));
    tagMultiVectorInt elements;
    for (int y = 0; y < ny; ++y)
        for (int x = 0; x < nx; ++x)
        {
            const int first = y * (nx + 1) + x;
            std::vector<int> list;
            for (const int node : {first, first + 1, first + nx + 2, first + nx + 1})
                for (int u = 0; u < perNode; ++u)
                    list.push_back(number[std::size_t(node * perNode + u)]);
            elements.Add(list);
        }
    return elements;
}

/// A random element matrix; sums of them are safely regular without pivoting.
inline tagMatrixDbl RandomMatrix(int size, Kind kind, std::mt19937& random)
{
    std::uniform_real_distribution<double> entry(-1, 1);
    tagMatrixDbl m{size, size, std::vector<double>(std::size_t(size * size))};
    for (int i = 0; i < size; ++i)
        for (int j = 0; j < size; ++j)
            m(i, j) = kind != Kind::NonSymmetric && j < i ? m(j, i) : entry(random);
    for (int i = 0; i < size; ++i)
        m(i, i) += kind == Kind::Indefinite ? (random() % 2 == 0 ? -size : size) : size;
    return m;
}

/// The system filled with random matrices and loads, and the same as dense matrices.
struct Filled
{
    ISysEqnImpl system;
    Eigen::MatrixXd A;
    Eigen::VectorXd b;

    Filled(const tagMultiVectorInt& elements, Kind kind, unsigned seed = 7)
    {
        system.Initialize(&elements);
        const int n = system.EquationCount();
        A.setZero(n, n);
        b.setZero(n);
        std::mt19937 random(seed);
        std::size_t start = 0;
        for (std::size_t e = 0; e < elements.Count(); start = elements.ends[e++])
        {
            const int size = int(elements.ends[e] - start);
            const int* list = elements.values.data() + start;
            const tagMatrixDbl m = RandomMatrix(size, kind, random);
            system.InsertIntoSysCoefMtx(int(e), &m);
            for (int i = 0; i < size; ++i)
                for (int j = 0; j < size; ++j)
                    A(list[i], list[j]) += m(i, j);
        }
        tagVectorInt all{std::vector<int>(std::size_t(n))};
        tagVectorDbl loads{std::vector<double>(std::size_t(n))};
        std::iota(all.values.begin(), all.values.end(), 0);
        for (int i = 0; i < n; ++i)
            b(i) = loads.values[std::size_t(i)] = 1 + double(random() % 100);
        system.AddToRHSVector(&all, &loads);
    }

    Eigen::VectorXd X() const
    {
        tagVectorDbl x;
        system.GetUnknownVector(&x);
        return Eigen::Map<Eigen::VectorXd>(x.values.data(), Eigen::Index(x.values.size()));
    }
};

} // namespace filled_system
