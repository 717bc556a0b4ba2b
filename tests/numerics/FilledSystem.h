/// @file
/// The maker of systems of equations for the tests: finite-element models of solids and of flow,
/// random ones and ones given by hand, as element matrices, as compressed rows, and filled in.
#pragma once

#include "numerics/ISysEqnImpl.h"
#include "numerics/system/MatrixView.h"

#include <Eigen/Dense>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
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

inline Eigen::VectorXd Vector(const Numbers& v)
{
    return Eigen::VectorXd::Map(v.data(), Eigen::Index(v.size()));
}

inline tagMultiVectorInt Lists(const std::vector<std::vector<int>>& lists)
{
    tagMultiVectorInt elements;
    for (const std::vector<int>& list : lists)
        elements.Add(list);
    return elements;
}

inline std::vector<int> Shuffled(int n, unsigned seed)
{
    std::vector<int> numbers(n);
    std::iota(numbers.begin(), numbers.end(), 0);
    std::shuffle(numbers.begin(), numbers.end(), std::mt19937(seed));
    return numbers;
}

/// A grid of nx x ny four-node elements; shuffled equations unless seed is 0.
inline tagMultiVectorInt Grid(int nx, int ny, int perNode, unsigned seed)
{
    std::vector<int> number = Shuffled((nx + 1) * (ny + 1) * perNode, seed);
    if (seed == 0)
        std::sort(number.begin(), number.end());
    tagMultiVectorInt elements;
    for (int y = 0; y < ny; ++y)
        for (int x = 0; x < nx; ++x)
        {
            const int first = y * (nx + 1) + x;
            std::vector<int> list;
            for (const int node : {first, first + 1, first + nx + 2, first + nx + 1})
                for (int u = 0; u < perNode; ++u)
                    list.push_back(number[node * perNode + u]);
            elements.Add(list);
        }
    return elements;
}

/// A random element matrix; sums of them are safely regular without pivoting.
inline tagMatrixDbl RandomMatrix(int size, Kind kind, std::mt19937& random)
{
    std::uniform_real_distribution<double> entry(-1, 1);
    tagMatrixDbl m{size, size, Numbers(size * size)};
    for (int i = 0; i < size; ++i)
        for (int j = 0; j < size; ++j)
            m(i, j) = kind != Kind::NonSymmetric && j < i ? m(j, i) : entry(random);
    for (int i = 0; i < size; ++i)
        m(i, i) += kind == Kind::Indefinite ? (random() % 2 == 0 ? -size : size) : size;
    return m;
}

/// Sets the loads @p to.b for which x is the solution.
template <class Equations>
void LoadFor(Equations& to, const Numbers& x)
{
    std::vector<long double> sums(x.size());
    to.ForEntries([&](int i, int j, double a) { sums[i] += static_cast<long double>(a) * x[j]; });
    to.b.assign(sums.begin(), sums.end());
}

/// Element lists with their matrices, row-major, and the loads.
struct Model
{
    tagMultiVectorInt elements;
    std::vector<Numbers> matrices;
    Numbers b;

    int Size() const { return int(b.size()); }
    void Add(const std::vector<int>& list, const Numbers& matrix)
    {
        elements.Add(list);
        matrices.push_back(matrix);
    }
    /// The equations of an element.
    std::vector<int> List(std::size_t e) const
    {
        const auto at = elements.values.begin();
        return {at + (e == 0 ? 0 : elements.ends[e - 1]), at + elements.ends[e]};
    }
    /// Calls f(row, column, value) for every entry of every element.
    template <class F>
    void ForEntries(F f) const
    {
        for (std::size_t e = 0; e < matrices.size(); ++e)
        {
            const std::vector<int> list = List(e);
            for (std::size_t k = 0; k < matrices[e].size(); ++k)
                f(list[k / list.size()], list[k % list.size()], matrices[e][k]);
        }
    }
    /// Appends a part whose first equation becomes @p first.
    void Append(const Model& part, int first)
    {
        for (std::size_t e = 0; e < part.matrices.size(); ++e)
        {
            std::vector<int> list = part.List(e);
            for (int& equation : list)
                equation += first;
            Add(list, part.matrices[e]);
        }
        b.resize(first);
        b.insert(b.end(), part.b.begin(), part.b.end());
    }
    /// Equation i as number[i], left out where that is negative.
    Model Renumbered(const std::vector<int>& number) const
    {
        Model to;
        to.b.resize(*std::max_element(number.begin(), number.end()) + 1);
        for (std::size_t i = 0; i < b.size(); ++i)
            if (number[i] >= 0)
                to.b[number[i]] = b[i];
        for (std::size_t e = 0; e < matrices.size(); ++e)
        {
            Numbers m;
            std::vector<int> list = List(e);
            for (int& equation : list)
                equation = number[equation];
            for (std::size_t k = 0; k < matrices[e].size(); ++k)
                if (list[k / list.size()] >= 0 && list[k % list.size()] >= 0)
                    m.push_back(matrices[e][k]);
            std::erase_if(list, [](int equation) { return equation < 0; });
            to.Add(list, m);
        }
        return to;
    }
    Eigen::MatrixXd Dense() const
    {
        Eigen::MatrixXd A = Eigen::MatrixXd::Zero(Size(), Size());
        ForEntries([&](int i, int j, double a) { A(i, j) += a; });
        return A;
    }
};

/// Compressed rows with a right-hand side.
struct System
{
    std::vector<int> rowStart{0}, columns;
    Numbers values, b;

    System() = default;
    System(const std::vector<std::map<int, double>>& rows) // NOLINT(google-explicit-constructor)
    {
        for (const auto& row : rows)
            AddRow(row, 1.0);
    }
    System(const Model& model) // NOLINT(google-explicit-constructor)
    {
        std::vector<std::map<int, double>> rows(model.b.size());
        model.ForEntries([&](int i, int j, double a) { rows[i][j] += a; });
        *this = rows;
        b = model.b;
    }
    int Size() const { return int(rowStart.size()) - 1; }
    numerics::MatrixView View() const
    {
        return {Size(), rowStart.data(), columns.data(), values.data()};
    }
    /// Appends a row given by column and value.
    void AddRow(const std::map<int, double>& row, double right)
    {
        for (const auto& [column, value] : row)
        {
            columns.push_back(column);
            values.push_back(value);
        }
        rowStart.push_back(int(columns.size()));
        b.push_back(right);
    }
    double& At(int i, int j)
    {
        const auto begin = columns.begin();
        return values[std::lower_bound(begin + rowStart[i], begin + rowStart[i + 1], j) - begin];
    }
    /// Calls f(row, column, value) for every stored entry.
    template <class F>
    void ForEntries(F f) const
    {
        for (int i = 0; i < Size(); ++i)
            for (int k = rowStart[i]; k < rowStart[i + 1]; ++k)
                f(i, columns[k], values[k]);
    }
};

inline double Uniform(int, int) { return 1; }

/// Flow through side x side four-node square elements with the conductivity k(column, row) each
/// and the given aspect ratio. Nodes of the bottom are fixed at 0 and have no equation where
/// @p isHeld. The wind (to the right, per element) makes the system non-symmetric.
inline Model Flow(int side, double (*k)(int column, int row) = Uniform, double aspect = 1,
                  double wind = 0, bool isHeld = true)
{
    Model model;
    model.elements = Grid(side, side, 1, 0);
    constexpr int kX[] = {0, 1, 1, 0}, kY[] = {0, 0, 1, 1}; // of the corners
    const double sx = aspect / 6, sy = 1 / (6 * aspect);
    for (int e = 0; e < side * side; ++e)
    {
        Numbers m;
        for (int i = 0; i < 4; ++i)
            for (int j = 0; j < 4; ++j)
            {
                const bool x = kX[i] == kX[j], y = kY[i] == kY[j];
                const double value =
                    sx * (x ? 1 : -1) * (y ? 2 : 1) + sy * (y ? 1 : -1) * (x ? 2 : 1);
                m.push_back(k(e % side, e / side) *
                            (value + wind * (kX[j] ? 1 : -1) * (y ? 2 : 1) / 12.0));
            }
        model.matrices.push_back(m);
    }
    const int width = side + 1, first = isHeld ? width : 0;
    std::vector<int> number(width * width);
    std::iota(number.begin(), number.end(), -first);
    model.b.resize(number.size());
    for (std::size_t i = first; i < number.size(); ++i)
        model.b[i] = 1.0 + 0.5 * ((number[i] * 37) % 11);
    return model.Renumbered(number);
}

/// 1 or 1e6, at random from element to element.
inline double Speckled(int x, int y)
{
    unsigned h = unsigned(x) * 73856093u ^ unsigned(y) * 19349663u;
    h = (h ^ (h >> 13)) * 0x5bd1e995u;
    return (h ^ (h >> 15)) % 2 ? 1e6 : 1;
}

/// As @p peclet grows, advection outweighs diffusion.
inline Model Convection(int side, double peclet, bool isHeld = true)
{
    return Flow(side, Uniform, 1, 2 * peclet, isHeld);
}

/// A linear elastic soil, and its permeability in a time step of 1; without pore pressures where
/// that is negative. @c size is the side of an element.
struct Soil
{
    double E, poisson = 0.3, permeability = -1, size = 1;
};

/// The matrix of a four-node square in plane strain: two displacements a node, and a pressure with
/// a permeability. Per unit of area, but for the terms between displacement and pressure.
inline Numbers SoilElement(const Soil& soil)
{
    const double lame = soil.E * soil.poisson / ((1 + soil.poisson) * (1 - 2 * soil.poisson));
    const double shear = soil.E / (2 * (1 + soil.poisson)), root = std::sqrt(3.0) / 6;
    const int per = soil.permeability < 0 ? 2 : 3, size = 4 * per;
    const Eigen::Matrix3d D{
        {lame + 2 * shear, lame, 0}, {lame, lame + 2 * shear, 0}, {0, 0, shear}};
    Eigen::MatrixXd m = Eigen::MatrixXd::Zero(size, size);
    for (int point = 0; point < 4; ++point)
    {
        const double x = 0.5 + (point & 1 ? root : -root), y = 0.5 + (point & 2 ? root : -root);
        const double N[] = {(1 - x) * (1 - y), x * (1 - y), x * y, (1 - x) * y};
        const double d[2][4] = {{y - 1, 1 - y, y, -y}, {x - 1, -x, x, 1 - x}};
        Eigen::MatrixXd strain = Eigen::MatrixXd::Zero(3, size), gradient = strain.topRows(2);
        Eigen::RowVectorXd pressure = strain.row(0);
        for (int a = 0; a < 4; ++a)
        {
            strain(0, a * per) = strain(2, a * per + 1) = d[0][a];
            strain(2, a * per) = strain(1, a * per + 1) = d[1][a];
            if (per == 2)
                continue;
            pressure(a * per + 2) = N[a] * soil.size;
            gradient.col(a * per + 2) << d[0][a], d[1][a];
        }
        const Eigen::MatrixXd coupling = (strain.row(0) + strain.row(1)).transpose() * pressure;
        m += (strain.transpose() * D * strain - coupling - coupling.transpose() -
              soil.permeability * gradient.transpose() * gradient) /
             4;
    }
    return {m.data(), m.data() + m.size()};
}

/// side x side such elements; the lowest row of nodes is held by springs, and its pressures by a
/// drain, of these stiffnesses.
inline Model Solid(int side, const Soil& soil, double held, double drain = 1)
{
    const int per = soil.permeability < 0 ? 2 : 3, width = side + 1;
    Model model;
    model.elements = Grid(side, side, per, 0);
    model.matrices.assign(side * side, SoilElement(soil));
    model.b.assign(width * width * per, 0.0);
    for (int i = 0; i < width * per && held != 0; ++i)
        model.Add({i}, {i % per == 2 ? -drain : held});
    return model;
}

/// side^3 points, each coupled with its 26 neighbours.
inline Model Brick(int side)
{
    Model model;
    const int n = side * side * side;
    model.b.assign(n, 1.0);
    for (int point = 0; point < n; ++point)
    {
        model.Add({point}, {26.5});
        for (int k = 14; k < 27; ++k) // one of each pair of neighbours
        {
            const int x = point % side + k % 3 - 1, y = point / side % side + k / 3 % 3 - 1;
            const int z = point / side / side + k / 9 - 1;
            if (std::min(x, y) >= 0 && std::max({x, y, z}) < side)
                model.Add({point, (z * side + y) * side + x}, {0, -1, -1, 0});
        }
    }
    return model;
}

/// Random matrices for these elements, and loads.
inline Model RandomModel(const tagMultiVectorInt& elements, Kind kind, unsigned seed = 7)
{
    Model model{elements, {}, {}};
    std::mt19937 random(seed);
    for (std::size_t e = 0; e < elements.Count(); ++e)
        model.matrices.push_back(RandomMatrix(int(model.List(e).size()), kind, random).values);
    model.b.resize(*std::max_element(elements.values.begin(), elements.values.end()) + 1);
    for (double& load : model.b)
        load = 1 + double(random() % 100);
    return model;
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

inline Numbers Unknowns(const ISysEqnImpl& system)
{
    tagVectorDbl x{{1, 2}};
    system.GetUnknownVector(&x);
    return x.values;
}

inline double Norm(const ISysEqnImpl& system, int kind)
{
    double norm = -1;
    EXPECT_EQ(system.GetResidualVecNorm(kind, &norm), 0);
    return norm;
}

/// Sets the matrices and the loads of an initialised system.
inline void Fill(ISysEqnImpl& system, const Model& model)
{
    for (std::size_t e = 0; e < model.matrices.size(); ++e)
    {
        const int size = int(model.List(e).size());
        const tagMatrixDbl m{size, size, model.matrices[e]};
        system.InsertIntoSysCoefMtx(int(e), &m);
    }
    std::vector<int> all(model.b.size());
    std::iota(all.begin(), all.end(), 0);
    Load(system, all, model.b);
}

/// A system filled from a model.
struct Filled
{
    Model model;
    ISysEqnImpl system;

    Filled(Model from) : model(std::move(from)) // NOLINT(google-explicit-constructor)
    {
        EXPECT_EQ(system.Initialize(&model.elements, model.Size()), 0);
        Fill(system, model);
    }
    Filled(const std::vector<std::vector<int>>& lists, const std::vector<Numbers>& matrices,
           const Numbers& b)
        : Filled(Model{Lists(lists), matrices, b})
    {
    }
    Eigen::VectorXd B() const { return Vector(model.b); }
    Eigen::VectorXd X() const { return Vector(Unknowns(system)); }
    double Error() const { return (model.Dense() * X() - B()).norm(); }
};

/// Every way to solve.
constexpr long (*kSolvers[])(ISysEqnImpl& system, double tol, int maxIter) = {
    [](ISysEqnImpl& s, double, int) { return s.SolveForUnknownVector_Direct_Sym(); },
    [](ISysEqnImpl& s, double, int) { return s.SolveForUnknownVector_Direct_NonSym(); },
    [](ISysEqnImpl& s, double tol, int most) {
        return s.SolveForUnknownVector_Iterative_Sym(tol, most);
    },
    [](ISysEqnImpl& s, double tol, int most) {
        return s.SolveForUnknownVector_Iterative_NonSym(tol, most);
    },
    [](ISysEqnImpl& s, double, int) { return s.SolveForUnknownVector_PARDISO(); },
};

} // namespace filled_system
