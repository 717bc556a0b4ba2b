// The outcome of every solver for every kind of system: one table, case by solver.
#include "numerics/FilledSystem.h"
#include "numerics/math_fpu_Exception.h"
#include "numerics/solve/Pardiso.h"
#include "numerics/solve/Vendor.h"
#include "parallel/ThreadCount.h"
#include "support/Numbers.h"

using namespace filled_system;
using math::SolveOutcome;
using support::kInfinity;
using support::kNaN;

namespace
{

constexpr double kOld = 12345; // an unknown of an older solution

/// A system, and its unknowns where they are known.
struct Answered
{
    Model model;
    Numbers x;

    /// Row-wise backward error, without an allowance for rows that cancel.
    double RowWiseError(const Numbers& found) const
    {
        std::vector<long double> r(model.b.begin(), model.b.end()), terms(r.size());
        model.ForEntries([&](int i, int j, double a) {
            r[i] -= static_cast<long double>(a) * found[j];
            terms[i] += std::fabs(static_cast<long double>(a) * found[j]);
        });
        long double worst = 0;
        for (std::size_t i = 0; i < r.size(); ++i)
            if (r[i] != 0)
                worst = std::max(worst, std::fabs(r[i]) / (terms[i] + std::fabs(model.b[i])));
        return double(worst);
    }
};

/// With the loads of unknowns that form waves, every third of them a @p pressure.
Answered Waves(Model model, double pressure = 1)
{
    Numbers x(model.b.size());
    for (std::size_t i = 0; i < x.size(); ++i)
        x[i] = (2 + std::sin(0.1 * double(i))) * (i % 3 == 2 ? pressure : 1);
    LoadFor(model, x);
    return {std::move(model), x};
}

/// With one load.
Answered Pulled(Model model, int at)
{
    model.b.assign(model.b.size(), 0.0);
    model.b[at] = 1;
    return {std::move(model), {}};
}

Answered Consolidation(double E) { return Waves(Solid(40, {E, 0.3, 1e-9, 1 / 40.0}, E, 1e-9), E); }

/// A chain of springs of 1 held at its first end, with a link from end to end.
Model Chain(int n, double link)
{
    Model model;
    model.b.resize(n);
    model.Add({0}, {1});
    for (int i = 1; i < n; ++i)
        model.Add({i - 1, i}, {1, -1, -1, 1});
    model.Add({0, n - 1}, {link, -link, -link, link});
    return model;
}

Model HeldConvection(int side, double peclet)
{
    Model model = Convection(side, peclet, false);
    for (int i = 0; i <= side; ++i)
        model.Add({i}, {10 / 6.0});
    return model;
}

/// Two plates side by side of which the second floats.
Answered OnePartLoose()
{
    Model model = Solid(6, {1e7}, 1e7), loose = Solid(4, {1e7}, 0);
    loose.b.assign(loose.b.size(), 1000.0);
    model.Append(loose, model.Size());
    return {std::move(model), {}};
}

constexpr const char* kLetters = "SZNBCLFTG"; // in the order of SolveOutcome

struct Case
{
    const char* name;
    Answered (*make)();
    /// One letter for each of kSolvers, the last of them as the vendor's and as the library's: the
    /// outcome, ! for anything but Solved, ? for anything. Solved must be true in any case.
    const char* outcomes;
    double error;  ///< largest of a direct solver's unknowns, against the largest; of no meaning
                   ///< where there is no answer
    int modes = 1; ///< that the library's direct solver finds at least where the system is singular
};

const Case kCases[] = {
    {"held plate", [] { return Waves(Solid(20, {1e7}, 1e7)); }, "SSSSSS", 1e-8},
    {"plate held by soft springs", [] { return Waves(Solid(20, {1e7}, 1e-1)); }, "SS??SS", 1e-3},
    {"consolidation", [] { return Consolidation(1e7); }, "SS??SS", 1e-6},
    {"stiff consolidation", [] { return Consolidation(1e9); }, "SS??SS", 1e-4},
    {"link of 1e12 over 20,000 rows", [] { return Waves(Chain(20000, 1e12)); }, "SS??SS", 1e-3},
    {"strong convection", [] { return Waves(HeldConvection(40, 4)); }, "FS?SSS", 1e-6},
    {"convection only", [] { return Waves(HeldConvection(30, 1000)); }, "FS??SS", 1e-3},
    {"unheld plate", [] { return Pulled(Solid(4, {1e7}, 0), 49); }, "GG!!GG", 0, 3},
    {"unheld larger plate", [] { return Pulled(Solid(24, {1e7}, 0), 1249); }, "GG!!GG", 0},
    {"unheld flow", [] { return Pulled(Flow(40, Uniform, 1, 0, false), 7); }, "GG!!GG", 0},
    {"one part loose", OnePartLoose, "GG!!GG", 0},
};

const Numbers kSpring = {1, -1, -1, 1};
const std::vector<Numbers> kParts = {kSpring, {1}, kSpring};
const Numbers kFarApart = {2554268.625, 3.607e27, -4.044e27, 2.666e50};

/// Systems given by hand.
const struct
{
    const char* name;
    std::vector<std::vector<int>> lists;
    std::vector<Numbers> matrices;
    Numbers b;
    const char* outcomes;
    int equation = -1; ///< of an outcome other than Solved; -1: not looked at
    Numbers x = {};    ///< where it is known; the profile solvers' also when singular
} kByHand[] = {
    {"22 digits apart", {{0, 1}}, {kFarApart}, {676, 9.57e23}, "?S???S"},
    {"one equation", {{0}}, {{4}}, {2}, "SSSSSS", -1, {0.5}},
    {"small numbers", {{0}}, {{-1e-300}}, {1e-300}, "SS?S?S", -1, {-1}},
    // A small pivot spoils the first answer.
    {"small pivot", {{0, 1}}, {{1e-9, 1, 1, 1}}, {1, 2}, "SSSSSS", -1, {1 + 1e-9, 1 - 1e-9}},
    {"equations on no element, without a load", {{1}}, {{2}}, {0, 4, 0}, "SSSSSS", -1, {0, 2, 0}},
    {"the same with a load", {{1}}, {{2}}, {0, 4, 1}, "GGGGGG", 2, {0, 2, 0}},
    // The last unknown is held at 0, and the loads balance.
    {"unheld springs", {{0, 1}, {1, 2}}, {kSpring, kSpring}, {-1, 0, 1}, "GGSS?!", 2, {-2, -1, 0}},
    {"part held", {{0, 1}, {0}, {2, 3}}, kParts, {0, 1, -1, 1}, "GGSS?!", 3, {1, 2, -1, 0}},
    {"zeros on the diagonal", {{0, 1}}, {{0, 2, 2, 0}}, {4, 6}, "ZZ??SS", 0, {3, 2}},
    {"equal rows", {{0, 1}}, {{1, 2, 2, 4}}, {1, 1}, "GG!!GG"},
    {"two unknowns", {{0, 1, 2}}, {{1, 2, 0, 3, 1, 0, 2, 4, 0}}, {1, 1, 1}, "GG!!!G"},
    {"0 x = 5", {{0, 1}, {2}}, {{2, 1, 1, 2}, {0}}, {1, 1, 5}, "GGGGGG", 2},
    {"zero matrix", {{0, 1}}, {{0, 0, 0, 0}}, {1, 1}, "GGGGGG", 0, {0, 0}},
    {"NaN in A", {{0, 1}}, {{2, 0, 0, kNaN}}, {1, 1}, "NNNNNN", 1},
    {"infinity in A", {{0, 1}}, {{2, 0, 0, -kInfinity}}, {1, 1}, "NNNNNN", 1},
    {"NaN in b", {{0, 1}}, {{2, 0, 0, 2}}, {1, kNaN}, "NNNNNN", 1},
    {"infinity in b", {{0, 1}}, {{2, 0, 0, 2}}, {kInfinity, 1}, "NNNNNN", 0},
};

/// With solver @p k in the order of the outcomes.
void Check(const Case& row, std::size_t k, const Answered& made, int equation)
{
    const bool isProfile = k < 2, isIterative = k == 2 || k == 3;
    const char expected = row.outcomes[k];
    Filled filled(made.model);
    ISysEqnImpl& system = filled.system;
    system.SetThreads(1); // thousands of short loops; no verdict depends on the threads
    tagVectorInt equations{std::vector<int>(made.model.b.size())};
    std::iota(equations.values.begin(), equations.values.end(), 0);
    const tagVectorDbl old{Numbers(made.model.b.size(), kOld)};
    system.SetUnknownVector(&equations, &old);
    const double before = Norm(system, 2);
    (void)math::fpu::impl::ExceptionOn(math::fpu::Exception::DefaultExceptionMask(), true);
    kSolvers[std::min(k, std::size_t(4))](system, 1e-10, 3000);
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
    const bool isOneOfMany =
        record.looseModes > 1 && record.solver.find(L"mumps") != std::wstring::npos;
    if (equation >= 0 && outcome == expected && outcome != 'S' && !isOneOfMany)
        EXPECT_EQ(record.equation, equation);
    if (k == 5 && outcome == 'G')
        EXPECT_TRUE(record.equation >= 0 && record.looseModes >= row.modes) << record.looseModes;
    if (isIterative && outcome != 'N')
        EXPECT_LE(after, before * (1 + 1e-9)) << "the best x, the start included";
    for (const double value : x)
        ASSERT_TRUE(outcome != 'N' || std::isnan(value) != isIterative) << value;
    for (const double value : x)
        ASSERT_TRUE(isIterative || value != kOld) << "an older answer";
    if (outcome == 'Z')
        EXPECT_EQ(x, Numbers(x.size()));
    if (outcome == 'S')
    {
        EXPECT_LE(made.RowWiseError(x), isIterative ? 1e-4 : 1e-10);
        EXPECT_LE(record.normWiseError, record.rowWiseError * 1.001 + 1e-16);
    }
    if (isIterative || outcome != expected || (outcome != 'S' && (outcome != 'G' || !isProfile)))
        return;
    double worst = 0, largest = 0;
    for (std::size_t i = 0; i < made.x.size(); ++i)
    {
        worst = std::max(worst, std::fabs(x[i] - made.x[i]));
        largest = std::max(largest, std::fabs(made.x[i]));
    }
    EXPECT_LE(worst, row.error * (row.make != nullptr ? largest : 1)) << record.rowWiseError;
}

void CheckAll(const Case& row, const Answered& made, int equation = -1)
{
    static const auto vendor = numerics::LoadVendor(L"");
    // With KVI_SOLVER=mumps the solver over several processes takes the place of the library's.
    const numerics::PardisoFunctions& found = numerics::ActivePardiso();
    const auto& last = found.distributed != nullptr ? found : numerics::BuiltInPardiso();
    for (std::size_t k = 0; k < 6; ++k)
    {
        if (k == 4 && !vendor)
            continue;
        SCOPED_TRACE(testing::Message() << row.name << ", solver " << k);
        numerics::ReplacePardiso(k == 4 ? &vendor->solver : &last);
        Check(row, k, made, equation);
    }
    numerics::ReplacePardiso(nullptr);
}

TEST(SolverContract, SaysOfEverySystemWhatWasChecked)
{
    for (const Case& row : kCases)
        CheckAll(row, row.make());
    for (const auto& row : kByHand)
        CheckAll({row.name, nullptr, row.outcomes, 1e-14},
                 {{Lists(row.lists), row.matrices, row.b}, row.x}, row.equation);
}

TEST(SolverContract, IteratesAsOftenWhateverTheNumbersOfTheUnknowns)
{
    constexpr int kWidth = 61, kNodes = kWidth * kWidth;
    Model plate = Solid(kWidth - 1, {1e7}, 0);
    for (int i = 0; i < plate.Size(); ++i)
        plate.b[i] = i % 3;
    const std::vector<int> shuffled = Shuffled(2 * kNodes, 3);
    const std::function<int(int)> keys[] = {[](int i) { return i; },
                                            [](int i) { return i % 2 * kNodes + i / 2; },
                                            [&](int i) { return shuffled[i]; }};
    for (const auto& key : keys)
    {
        SCOPED_TRACE(&key - keys);
        std::map<int, int> kept; // unknown by key; the others are held by rollers
        for (int i = 0; i < plate.Size(); ++i)
            if (i % 2 != 0 ? i / 2 >= kWidth : i / 2 % kWidth != 0)
                kept[key(i)] = i;
        std::vector<int> number(plate.Size(), -1);
        for (int next = 0; const auto& [name, unknown] : kept)
            number[unknown] = next++;
        Filled rollers(plate.Renumbered(number));
        rollers.system.SetThreads(1);
        rollers.system.SolveForUnknownVector_Iterative_Sym(1e-8);
        EXPECT_EQ(rollers.system.LastSolve().outcome, SolveOutcome::Solved);
        EXPECT_LE(rollers.system.LastSolve().iterations, 60);
    }
}

TEST(SolverThreads, GiveTheSameBitsForEveryNumber)
{
    const auto shuffled = [](const Model& model, int unknowns) {
        const std::vector<int> order = Shuffled(model.Size() / unknowns, 3);
        std::vector<int> number(model.Size());
        for (int i = 0; i < model.Size(); ++i)
            number[i] = order[i / unknowns] * unknowns + i % unknowns;
        return model.Renumbered(number);
    };
    const std::pair<int, Model> rows[] = {
        {0, RandomModel(Grid(90, 30, 1, 0), Kind::Indefinite)},
        {1, RandomModel(Grid(90, 30, 1, 0), Kind::NonSymmetric)},
        {2, Flow(200, Speckled)},
        {2, shuffled(Flow(150, Speckled), 1)},
        {2, shuffled(Solid(100, {1e7}, 1e7), 2)},
        {3, Flow(120, Speckled, 1, 0.3)},
        {3, Convection(90, 1)},
        {3, Convection(90, 100)},
        {4, Solid(70, {1e4}, 1e7)},
        {4, Brick(15)},
        {4, Convection(90, 1)},
    };
#if defined(__SANITIZE_THREAD__)
    const std::vector<int> numbers = {1, 3}; // thirty times as slow; races show in any of them
#else
    const std::vector<int> numbers = {1, 2, 3, 8, 0, 5, 2};
#endif
    numerics::ReplacePardiso(&numerics::BuiltInPardiso());
    for (const auto& [solver, model] : rows)
    {
        Numbers expected;
        for (const int threads : numbers)
        {
            SCOPED_TRACE(testing::Message() << model.Size() << ' ' << solver << ' ' << threads);
            parallel::SetFixedThreads(threads > 0 ? threads : parallel::kDynamicThreads);
            Filled filled(model);
            filled.system.SetThreads(threads);
            kSolvers[solver](filled.system, 1e-9, 500);
            EXPECT_TRUE(solver == 3 || filled.system.LastSolve().outcome == SolveOutcome::Solved);
            const Numbers x = Unknowns(filled.system);
            EXPECT_EQ(x, expected.empty() ? expected = x : expected);
        }
    }
    parallel::SetFixedThreads(parallel::kDynamicThreads);
    numerics::ReplacePardiso(nullptr);
}

} // namespace
