// The outcome of every solver for every kind of system: one table, case by solver.
#include "numerics/FilledSystem.h"
#include "numerics/Shape.h"
#include "numerics/math_fpu_Exception.h"
#include "numerics/solve/Pardiso.h"
#include "numerics/solve/Vendor.h"

#include <cmath>
#include <functional>
#include <limits>
#include <map>

using namespace filled_system;
using math::SolveOutcome;

namespace
{

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kOld = 12345; // an unknown of an older solution

struct Made
{
    tagMultiVectorInt elements;
    std::vector<Numbers> matrices;
    Numbers b;
    Numbers truth; ///< the answer, where it is known

    int Size() const { return int(b.size()); }
    void Add(const std::vector<int>& list, const Numbers& matrix)
    {
        elements.Add(list);
        matrices.push_back(matrix);
    }
    /// Calls f(row, column, value) for every entry of every element.
    template <class F>
    void ForEntries(F f) const
    {
        const int* list = elements.values.data();
        for (std::size_t e = 0; e < matrices.size();
             list = elements.values.data() + elements.ends[e++])
        {
            const auto size = std::size_t(std::sqrt(double(matrices[e].size())) + 0.5);
            for (std::size_t k = 0; k < size * size; ++k)
                f(std::size_t(list[k / size]), std::size_t(list[k % size]), matrices[e][k]);
        }
    }
    /// Sets the loads for which x is the solution.
    Made& Answering(const Numbers& x)
    {
        truth = x;
        std::vector<long double> sums(x.size());
        ForEntries([&](std::size_t i, std::size_t j, double a) {
            sums[i] += static_cast<long double>(a) * x[j];
        });
        b.assign(sums.begin(), sums.end());
        return *this;
    }
    /// Row-wise backward error, without an allowance for rows that cancel.
    double RowWiseError(const Numbers& x) const
    {
        std::vector<long double> r(b.begin(), b.end()), terms(b.size());
        ForEntries([&](std::size_t i, std::size_t j, double a) {
            r[i] -= static_cast<long double>(a) * x[j];
            terms[i] += std::fabs(static_cast<long double>(a) * x[j]);
        });
        long double worst = 0;
        for (std::size_t i = 0; i < b.size(); ++i)
            if (r[i] != 0)
                worst = std::max(worst, std::fabs(r[i]) / (terms[i] + std::fabs(b[i])));
        return double(worst);
    }
};

/// A four-node square element: plane strain (E, Poisson's ratio 0.3), and with @p k above 0 the
/// pressure of slow flow through it in a time step of 1, three unknowns a node.
Numbers SquareElement(double E, double k, double h)
{
    const int u = k > 0 ? 3 : 2;
    const int size = 4 * u;
    Numbers m(std::size_t(size * size));
    const double D0 = E * 0.7 / (1.3 * 0.4), D1 = D0 * 0.3 / 0.7, G = E / 2.6;
    const int nodes[8] = {1, 1, 1, 1};
    for (const double r : {-std::sqrt(1 / 3.), std::sqrt(1 / 3.)})
        for (const double s : {-std::sqrt(1 / 3.), std::sqrt(1 / 3.)})
        {
            double N[8], d[2][8];
            Shape_Function(N, r, s, nodes);
            Shape_Derivative(d, r, s, nodes);
            for (int i = 0; i < 4; ++i)
                for (int j = 0; j < 4; ++j)
                {
                    // Derivatives are by h / 2, areas by its square: the two cancel but for Q.
                    double* at = m.data() + i * u * size + j * u;
                    const double xx = d[0][i] * d[0][j], yy = d[1][i] * d[1][j];
                    at[0] += D0 * xx + G * yy;
                    at[1] += D1 * d[0][i] * d[1][j] + G * d[1][i] * d[0][j];
                    at[size] += D1 * d[1][i] * d[0][j] + G * d[0][i] * d[1][j];
                    at[size + 1] += D0 * yy + G * xx;
                    if (u == 2)
                        continue;
                    for (int c = 0; c < 2; ++c)
                    {
                        at[c * size + 2] -= d[c][i] * N[j] * h / 2;
                        at[2 * size + c] -= N[i] * d[c][j] * h / 2;
                    }
                    at[2 * size + 2] -= k * (xx + yy);
                }
        }
    return m;
}

/// side x side such elements; @p held springs hold the lowest row of nodes.
Made Plate(int side, double E, double k, double held)
{
    const int u = k > 0 ? 3 : 2;
    Made made;
    made.elements = Grid(side, side, u, 0);
    // The grid's elements start at their lower left corner.
    Numbers m = SquareElement(E, k, 1.0 / side), turned(m);
    const int size = 4 * u;
    for (int i = 0; i < size; ++i)
        for (int j = 0; j < size; ++j)
            turned[std::size_t(i * size + j)] =
                m[std::size_t((i + 2 * u) % size * size + (j + 2 * u) % size)];
    made.matrices.assign(made.elements.Count(), turned);
    made.b.assign(std::size_t((side + 1) * (side + 1) * u), 0.0);
    for (int node = 0; node <= side && held != 0; ++node)
        for (int c = 0; c < u; ++c)
            made.Add({node * u + c}, {c == 2 ? -k : held});
    return made;
}

Numbers Waves(int n, int unknowns, double pressure)
{
    Numbers x(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i)
        x[std::size_t(i)] = (2 + std::sin(0.1 * i)) * (i % unknowns == 2 ? pressure : 1);
    return x;
}

Made Consolidation(double E)
{
    Made made = Plate(40, E, 1e-9, E);
    return made.Answering(Waves(made.Size(), 3, E));
}

Made HeldPlate(double held)
{
    Made made = Plate(20, 1e7, 0, held);
    return made.Answering(Waves(made.Size(), 2, 1));
}

Made UnheldPlate(int side)
{
    Made made = Plate(side, 1e7, 0, 0);
    made.b[std::size_t(made.Size() - 1)] = 1;
    return made;
}

/// A chain of springs of 1 held at its first end, with a link from end to end.
Made Chain(int n, double link)
{
    Made made;
    made.Add({0}, {1});
    for (int i = 1; i < n; ++i)
        made.Add({i - 1, i}, {1, -1, -1, 1});
    made.Add({0, n - 1}, {link, -link, -link, link});
    return made.Answering(Waves(n, 1, 1));
}

Made UnheldFlow(int side)
{
    Made made;
    made.elements = Grid(side, side, 1, 0);
    made.matrices.assign(made.elements.Count(),
                         {4, -1, -2, -1, -1, 4, -1, -2, -2, -1, 4, -1, -1, -2, -1, 4});
    made.b.assign(std::size_t((side + 1) * (side + 1)), 0.0);
    made.b[7] = 1;
    return made;
}

/// One upstream and one downstream unknown an element, with advection @p wind times faster than
/// diffusion.
Made Convection(int side, double wind)
{
    Made made = UnheldFlow(side);
    const int sign[] = {-1, 1, 1, -1}; // of the corners' x
    for (Numbers& m : made.matrices)
        for (std::size_t i = 0; i < 4; ++i)
            for (std::size_t j = 0; j < 4; ++j)
                m[4 * i + j] += wind * sign[j] * (i / 2 == j / 2 ? 2 : 1);
    for (int i = 0; i <= side; ++i)
        made.Add({i}, {10});
    return made.Answering(Waves(made.Size(), 1, 1));
}

/// Two plates side by side of which the second floats.
Made OnePartLoose()
{
    Made made = Plate(6, 1e7, 0, 1e7), loose = Plate(4, 1e7, 0, 0);
    const int first = made.Size();
    for (std::size_t e = 0; e < loose.matrices.size(); ++e)
    {
        std::vector<int> list;
        for (std::size_t k = 0; k < 8; ++k)
            list.push_back(first + loose.elements.values[8 * e + k]);
        made.Add(list, loose.matrices[e]);
    }
    made.b.resize(std::size_t(first + loose.Size()), 1000.0);
    return made;
}

struct Family
{
    const char* name;
    long (*solve)(ISysEqnImpl&);
    bool isIterative;
};
const Family kFamilies[] = {
    {"profile, symmetric", [](ISysEqnImpl& s) { return s.SolveForUnknownVector_Direct_Sym(); },
     false},
    {"profile", [](ISysEqnImpl& s) { return s.SolveForUnknownVector_Direct_NonSym(); }, false},
    {"iterative, symmetric",
     [](ISysEqnImpl& s) { return s.SolveForUnknownVector_Iterative_Sym(1e-10, 3000); }, true},
    {"iterative",
     [](ISysEqnImpl& s) { return s.SolveForUnknownVector_Iterative_NonSym(1e-10, 3000); }, true},
    {"vendor", [](ISysEqnImpl& s) { return s.SolveForUnknownVector_PARDISO(); }, false},
    {"built in", [](ISysEqnImpl& s) { return s.SolveForUnknownVector_PARDISO(); }, false},
};

constexpr const char* kLetters = "SZNBCLFTG"; // in the order of SolveOutcome

struct Case
{
    const char* name;
    Made (*make)();
    /// One letter a family: the outcome, ! for anything but Solved, ? for anything. Solved must be
    /// true in any case.
    const char* outcomes;
    double error; ///< largest of a direct solver's unknowns, against the largest; of no meaning
                  ///< where there is no answer
    int equation; ///< of the outcome where that is no success; -1: not looked at
};

const Case kCases[] = {
    {"held plate", [] { return HeldPlate(1e7); }, "SSSSSS", 1e-8, -1},
    {"plate held by soft springs", [] { return HeldPlate(1e-1); }, "SS??SS", 1e-3, -1},
    {"consolidation", [] { return Consolidation(1e7); }, "SS??SS", 1e-6, -1},
    {"stiff consolidation", [] { return Consolidation(1e9); }, "SS??SS", 1e-4, -1},
    {"link of 1e12 over 20,000 rows", [] { return Chain(20000, 1e12); }, "SS??SS", 1e-3, -1},
    {"strong convection", [] { return Convection(40, 4); }, "FS?SSS", 1e-6, -1},
    {"convection only", [] { return Convection(30, 1000); }, "FS??SS", 1e-3, -1},
    {"unheld plate", [] { return UnheldPlate(4); }, "GG!!GG", 0, -1},
    {"unheld larger plate", [] { return UnheldPlate(24); }, "GG!!GG", 0, -1},
    {"unheld flow", [] { return UnheldFlow(40); }, "GG!!GG", 0, -1},
    {"one part loose", OnePartLoose, "GG!!GG", 0, -1},
};

/// Systems given by hand, whose outcomes and row-wise errors alone are checked.
const struct
{
    const char* name;
    std::vector<std::vector<int>> lists;
    std::vector<Numbers> matrices;
    Numbers b;
    const char* outcomes;
    int equation = -1;
} kByHand[] = {
    {"unknowns 22 digits apart",
     {{0, 1}},
     {{2554268.625, 3.607e27, -4.044e27, 2.666e50}},
     {676, 9.57e23},
     "?S???S"},
    {"zero on the diagonal", {{0, 1}}, {{0, 2, 2, 0}}, {4, 6}, "ZZ??SS"},
    {"equal rows", {{0, 1}}, {{1, 2, 2, 4}}, {1, 1}, "GG!!GG"},
    {"0 x = 5", {{0, 1}, {2}}, {{2, 1, 1, 2}, {0}}, {1, 1, 5}, "GGGGGG", 2},
    {"a load on no element", {{0, 1}}, {{2, 1, 1, 2}}, {1, 1, 5}, "GGGGGG", 2},
    {"zero matrix", {{0, 1}}, {{0, 0, 0, 0}}, {1, 1}, "GGGGGG", 0},
    {"NaN in A", {{0, 1}}, {{2, 0, 0, kNaN}}, {1, 1}, "NNNNNN", 1},
    {"infinity in A", {{0, 1}}, {{2, 0, 0, -kInfinity}}, {1, 1}, "NNNNNN", 1},
    {"NaN in b", {{0, 1}}, {{2, 0, 0, 2}}, {1, kNaN}, "NNNNNN", 1},
    {"infinity in b", {{0, 1}}, {{2, 0, 0, 2}}, {kInfinity, 1}, "NNNNNN", 0},
};

void Fill(ISysEqnImpl& system, const Made& made)
{
    system.SetThreads(1); // thousands of short loops; no verdict depends on the threads
    system.Initialize(&made.elements, made.Size());
    for (std::size_t e = 0; e < made.matrices.size(); ++e)
    {
        const int size = int(std::sqrt(double(made.matrices[e].size())) + 0.5);
        const tagMatrixDbl m{size, size, made.matrices[e]};
        system.InsertIntoSysCoefMtx(int(e), &m);
    }
    std::vector<int> all(made.b.size());
    std::iota(all.begin(), all.end(), 0);
    Load(system, all, made.b);
    const tagVectorInt equations{all};
    const tagVectorDbl old{Numbers(made.b.size(), kOld)};
    system.SetUnknownVector(&equations, &old);
}

void Check(const Case& row, const Family& family, const Made& made, char expected)
{
    ISysEqnImpl system;
    Fill(system, made);
    const double before = Norm(system, 2);
    (void)math::fpu::impl::ExceptionOn(math::fpu::Exception::DefaultExceptionMask(), true);
    family.solve(system);
    const double after = Norm(system, 2);
    math::fpu::Exception::Off();
    math::fpu::Exception::Clear();

    const math::SolveRecord& record = system.LastSolve();
    const char outcome = kLetters[int(record.outcome)];
    EXPECT_TRUE(expected == outcome || expected == '?' || (expected == '!' && outcome != 'S'))
        << outcome << " for " << expected << ", error " << record.rowWiseError << ", "
        << testing::PrintToString(record.reason);
    EXPECT_EQ(record.reason.empty(), outcome == 'S');
    const Numbers x = Unknowns(system);
    if (row.equation >= 0)
        EXPECT_EQ(record.equation, row.equation);
    if (family.isIterative && outcome != 'N')
        EXPECT_LE(after, before * (1 + 1e-9)) << "the best x, the start included";
    for (const double value : x)
        ASSERT_TRUE(outcome != 'N' || std::isnan(value) != family.isIterative) << value;
    if (!family.isIterative)
        for (const double value : x)
            ASSERT_NE(value, kOld) << "an older answer";
    if (outcome != 'S')
        return;
    EXPECT_LE(made.RowWiseError(x), family.isIterative ? 1e-4 : 1e-10);
    EXPECT_LE(record.normWiseError, record.rowWiseError * 1.001 + 1e-16);
    double worst = 0, largest = 0;
    for (std::size_t i = 0; i < made.truth.size(); ++i)
    {
        worst = std::max(worst, std::fabs(x[i] - made.truth[i]));
        largest = std::max(largest, std::fabs(made.truth[i]));
    }
    if (!family.isIterative)
        EXPECT_LE(worst, row.error * largest) << record.rowWiseError;
}

void CheckAll(const Case& row, const Made& made)
{
    static const auto vendor = numerics::LoadVendor(L"");
    for (std::size_t k = 0; k < std::size(kFamilies); ++k)
    {
        const std::string name = kFamilies[k].name;
        if (name == "vendor" && !vendor)
            continue;
        SCOPED_TRACE(row.name + (", " + name));
        numerics::ReplacePardiso(name == "vendor" ? &vendor->solver : &numerics::BuiltInPardiso());
        Check(row, kFamilies[k], made, row.outcomes[k]);
    }
    numerics::ReplacePardiso(nullptr);
}

TEST(SolverContract, SaysOfEverySystemWhatWasChecked)
{
    for (const Case& row : kCases)
        CheckAll(row, row.make());
    for (const auto& row : kByHand)
    {
        Made made;
        for (std::size_t e = 0; e < row.lists.size(); ++e)
            made.Add(row.lists[e], row.matrices[e]);
        made.b = row.b;
        CheckAll({row.name, nullptr, row.outcomes, 0, row.equation}, made);
    }
}

/// A plate on rollers, whose held unknowns are left out, numbered in the order of @p key.
Made OnRollers(int side, const std::function<int(int unknown)>& key)
{
    const Made plate = Plate(side, 1e7, 0, 0);
    std::map<int, int> kept; // unknown by key
    for (int i = 0; i < plate.Size(); ++i)
        if (i % 2 != 0 ? i / 2 > side : i / 2 % (side + 1) != 0)
            kept[key(i)] = i;
    std::vector<int> number(plate.b.size(), -1);
    Made made;
    for (const auto& [name, unknown] : kept)
    {
        number[std::size_t(unknown)] = made.Size();
        made.b.push_back(unknown % 3);
    }
    for (std::size_t e = 0; e < plate.matrices.size(); ++e)
    {
        std::vector<int> list;
        Numbers m;
        for (std::size_t i = 0; i < 8; ++i)
            if (const int row = number[std::size_t(plate.elements.values[8 * e + i])]; row >= 0)
            {
                list.push_back(row);
                for (std::size_t j = 0; j < 8; ++j)
                    if (number[std::size_t(plate.elements.values[8 * e + j])] >= 0)
                        m.push_back(plate.matrices[e][8 * i + j]);
            }
        made.Add(list, m);
    }
    return made;
}

TEST(SolverContract, IteratesAsOftenWhateverTheNumbersOfTheUnknowns)
{
    constexpr int kSide = 60, kNodes = 61 * 61;
    std::vector<int> shuffled(2 * kNodes);
    std::iota(shuffled.begin(), shuffled.end(), 0);
    std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(3));
    const std::function<int(int)> keys[] = {[](int i) { return i; },
                                            [](int i) { return i % 2 * kNodes + i / 2; },
                                            [&](int i) { return shuffled[std::size_t(i)]; }};
    for (const auto& key : keys)
    {
        SCOPED_TRACE(&key - keys);
        ISysEqnImpl system;
        Fill(system, OnRollers(kSide, key));
        system.SolveForUnknownVector_Iterative_Sym(1e-8);
        EXPECT_EQ(system.LastSolve().outcome, SolveOutcome::Solved);
        EXPECT_LE(system.LastSolve().iterations, 60);
    }
}

} // namespace
