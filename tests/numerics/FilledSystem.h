/// @file
/// Systems of equations for the tests: small ones by hand, grids of quadrilaterals with random
/// element matrices.
#pragma once

#include "numerics/ISysEqnImpl.h"

#include <Eigen/Dense>
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <vector>

namespace filled_system
{

using Numbers = std::vector<double>;

enum class Kind
{
    Definite,
    Indefinite,
    NonSymmetric
};

inline tagMultiVectorInt Lists(const std::vector<std::vector<int>>& lists)
{
    tagMultiVectorInt elements;
    for (const std::vector<int>& list : lists)
        elements.Add(list);
    return elements;
}

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
    tagMatrixDbl m{size, size, Numbers(std::size_t(size * size))};
    for (int i = 0; i < size; ++i)
        for (int j = 0; j < size; ++j)
            m(i, j) = kind != Kind::NonSymmetric && j < i ? m(j, i) : entry(random);
    for (int i = 0; i < size; ++i)
        m(i, i) += kind == Kind::Indefinite ? (random() % 2 == 0 ? -size : size) : size;
    return m;
}

inline void Load(ISysEqnImpl& system, const std::vector<int>& equations, const Numbers& loads)
{
    const tagVectorInt list{equations};
    const tagVectorDbl values{loads};
    EXPECT_EQ(system.AddToRHSVector(&list, &values), 0);
}

inline void Fix(ISysEqnImpl& system, const std::vector<int>& equations, const Numbers& given)
{
    const tagVectorInt list{equations};
    const tagVectorDbl values{given};
    EXPECT_EQ(system.FixUnknowns(&list, &values), 0);
}

inline void SolveDirectly(ISysEqnImpl& system, bool symmetric)
{
    EXPECT_EQ(symmetric ? system.SolveForUnknownVector_Direct_Sym()
                        : system.SolveForUnknownVector_Direct_NonSym(),
              0);
}

inline Numbers Unknowns(const ISysEqnImpl& system)
{
    tagVectorDbl x{{1, 2}};
    system.GetUnknownVector(&x);
    return x.values;
}

inline Numbers Reactions(const ISysEqnImpl& system)
{
    tagVectorDbl reaction;
    system.GetReactionVector(&reaction);
    return reaction.values;
}

inline double Norm(const ISysEqnImpl& system, int kind)
{
    double norm = -1;
    EXPECT_EQ(system.GetResidualVecNorm(kind, &norm), 0);
    return norm;
}

/// A small system given by its lists, its matrices and b.
struct Small
{
    ISysEqnImpl system;

    Small(const std::vector<std::vector<int>>& lists, const std::vector<Numbers>& matrices,
          const Numbers& b)
    {
        const tagMultiVectorInt elements = Lists(lists);
        EXPECT_EQ(system.Initialize(&elements, int(b.size())), 0);
        for (std::size_t e = 0; e < lists.size(); ++e)
        {
            const int size = int(lists[e].size());
            const tagMatrixDbl m{size, size, matrices[e]};
            system.InsertIntoSysCoefMtx(int(e), &m);
        }
        for (int i = 0; i < int(b.size()); ++i)
            Load(system, {i}, {b[std::size_t(i)]});
    }
};

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
        for (int i = 0; i < n; ++i)
        {
            b(i) = 1 + double(random() % 100);
            Load(system, {i}, {b(i)});
        }
    }

    Eigen::VectorXd X() const
    {
        const Numbers x = Unknowns(system);
        return Eigen::Map<const Eigen::VectorXd>(x.data(), Eigen::Index(x.size()));
    }
    double Error() const { return (A * X() - b).norm(); }
};

} // namespace filled_system
