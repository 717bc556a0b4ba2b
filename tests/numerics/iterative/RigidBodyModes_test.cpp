#include "numerics/FilledSystem.h"
#include "numerics/iterative/RigidBodyModes.h"

namespace
{

using namespace filled_system;
using math::SolveOutcome;

/// Points joined by bars to those around, in the plane or in space, with their coordinates. Those
/// of x = 0 are held and have no equations.
struct Lattice
{
    Model model;
    tagVectorInt axes;
    tagMatrixDbl places;

    Lattice(std::array<int, 3> size, unsigned seed)
    {
        const int d = size[2] > 1 ? 3 : 2, row = size[0], layer = row * size[1];
        const auto place = [=](int point) {
            return Eigen::Array3i(point % row, point % layer / row, point / layer);
        };
        Model all;
        for (int i = 0; i < layer * size[2] * d; ++i)
            all.b.push_back(i % 3);
        for (int p = 0; p < layer * size[2]; ++p)
            for (int k = 14; k < 27; ++k) // one of each pair of neighbours
            {
                const Eigen::Array3i bar(k % 3 - 1, k / 3 % 3 - 1, k / 9 - 1), end = place(p) + bar;
                if ((end < 0).any() || (end >= Eigen::Array3i(size.data())).any())
                    continue;
                Eigen::VectorXd both(2 * d);
                both << bar.head(d).cast<double>(), -bar.head(d).cast<double>();
                const Eigen::MatrixXd m = both * both.transpose() / bar.square().sum();
                std::vector<int> list(2 * d);
                std::iota(list.begin(), list.begin() + d, p * d);
                std::iota(list.begin() + d, list.end(),
                          d * (p + bar[0] + row * bar[1] + layer * bar[2]));
                all.Add(list, {m.data(), m.data() + m.size()});
            }
        std::vector<int> order = Shuffled(all.Size(), seed), number(order);
        if (seed == 0)
            std::sort(order.begin(), order.end());
        for (const int i : order)
        {
            const Eigen::Array3i at = place(i / d);
            number[i] = at[0] == 0 ? -1 : int(axes.values.size());
            if (at[0] == 0)
                continue;
            axes.values.push_back(i % d);
            for (int c = 0; c < d; ++c)
                places.values.push_back(1e5 + 0.1 * at[c]);
        }
        places.rows = int(axes.values.size());
        places.columns = d;
        model = all.Renumbered(number);
    }
};

/// x after iterating from 0, Solved.
Numbers Iterated(ISysEqnImpl& system)
{
    std::vector<int> all(system.EquationCount());
    std::iota(all.begin(), all.end(), 0);
    const tagVectorInt equations{all};
    const tagVectorDbl zero{Numbers(all.size())};
    system.SetUnknownVector(&equations, &zero);
    system.SolveForUnknownVector_Iterative_Sym(1e-6, 1000);
    EXPECT_EQ(system.LastSolve().outcome, SolveOutcome::Solved);
    return Unknowns(system);
}

TEST(RigidBodyModes, ReduceTheIterationsWhereCoordinatesAreOfUse)
{
    // Points, seed of the numbering, the most iterations with coordinates, the fewest without.
    const std::tuple<std::array<int, 3>, unsigned, int, int> rows[] = {
        {{60, 60, 1}, 0, 13, 17}, {{100, 6, 1}, 0, 17, 40},  {{100, 6, 1}, 3, 17, 40},
        {{40, 2, 1}, 0, 15, 30},  {{12, 12, 12}, 0, 13, 18}, {{30, 4, 4}, 3, 22, 45},
        {{24, 2, 2}, 0, 18, 50},
    };
    for (const auto& [size, seed, most, fewest] : rows)
    {
        SCOPED_TRACE(size[0] + 1000 * size[1]);
        const Lattice lattice(size, seed);
        Filled filled(lattice.model);
        ISysEqnImpl& system = filled.system;
        const Numbers without = Iterated(system);
        EXPECT_GE(system.LastSolve().iterations, fewest);
        Numbers expected;
        for (const int threads : {1, 2, 3})
        {
            system.SetThreads(threads);
            system.SetCoordinates(&lattice.axes, &lattice.places);
            const Numbers x = Iterated(system);
            EXPECT_LE(system.LastSolve().iterations, most);
            EXPECT_EQ(x, expected.empty() ? expected = x : expected);
        }
        // Of no use: nothing, an unknown that is no displacement, one component, one point, points
        // whose distance is infinite.
        auto none = lattice, other = none, component = none, point = none, far = none;
        none.axes = {}, none.places = {};
        other.axes.values[7] = -1;
        component.axes.values.assign(component.axes.values.size(), 0);
        point.places.values.assign(point.places.values.size(), 2.5);
        far.places(0, 0) = -(far.places(far.places.rows - 1, 0) = 1.7e308);
        for (const Lattice& useless : {none, other, component, point, far})
        {
            system.SetCoordinates(&lattice.axes, &lattice.places);
            system.SetCoordinates(&useless.axes, &useless.places);
            EXPECT_EQ(Iterated(system), without);
        }
        // An axis held in half of the points: its rows and those of the others differ.
        for (std::size_t i = lattice.axes.values.size() / 2; i < lattice.axes.values.size(); ++i)
            if (lattice.axes.values[i] == 0)
                Fix(system, {int(i)}, {0});
        Iterated(system);
        system.SetCoordinates(&lattice.axes, &lattice.places);
        Iterated(system);
    }
}

TEST(RigidBodyModes, AreThoseThatAnAggregateHas)
{
    using Points = std::vector<Eigen::Vector3d>;
    // Points of an aggregate, dimensions, modes.
    const std::tuple<Points, int, int> rows[] = {
        {{{3, 4, 0}}, 2, 2},
        {{{3, 4, 0}, {1, 5, 0}}, 2, 3},
        {{{3, 4, 0}, {3, 4, 0}}, 2, 2}, // the sides of an interface
        {{{3, 4, 5}}, 3, 3},
        {{{3, 4, 5}, {4, 6, 8}}, 3, 5},
        {{{3, 4, 5}, {4, 6, 8}, {6, 10, 14}, {1.5, 1, 0.5}}, 3, 5}, // a line
        {{{3, 4, 5}, {4, 6, 8}, {6, 10, 13}}, 3, 6},
        {{{0.3, 0.4, 0}, {0.3 + 1e-8, 0.4, 0}, {0.3, 0.4 + 1e-8, 0}}, 3, 6},
    };
    for (const auto& [points, d, count] : rows)
    {
        SCOPED_TRACE(&points - &std::get<0>(rows[0]));
        const int n = int(points.size()) * d;
        const System coupled(std::vector<std::map<int, double>>(n, {{0, 1.0}, {n - 1, 1.0}}));
        std::vector<int> axes;
        Numbers places;
        Eigen::VectorXd moved(n); // a translation and a rotation
        for (int i = 0; i < n; ++i)
        {
            axes.push_back(i % d);
            places.insert(places.end(), points[i / d].data(), points[i / d].data() + d);
            const Eigen::Vector3d turn(d == 3 ? 0.2 : 0, d == 3 ? -0.5 : 0, 0.7);
            moved[i] = (Eigen::Vector3d(1, 2, 3) + turn.cross(points[i / d] - points[0]))[i % d];
        }
        numerics::Aggregates one{d, {}, std::vector<int>(points.size()), 1};
        numerics::RigidBodyModes modes(coupled.View(), {d, axes, places, {}}, {});
        for (int level = 0; level < 2; ++level) // the only node of the second has all of them
        {
            const auto T = modes.Restrict(one);
            const Eigen::Map<const Eigen::Matrix<double, -1, -1, Eigen::RowMajor>> t(
                T.data(), int(T.size()) / modes.Modes(), modes.Modes());
            const Eigen::VectorXd sizes = (t.transpose() * t).diagonal();
            EXPECT_NEAR(sizes.sum(), count, 1e-9);
            EXPECT_LT((t.transpose() * t - Eigen::MatrixXd(sizes.asDiagonal())).norm(), 1e-9);
            EXPECT_LT((moved - t * (t.transpose() * moved)).norm(), 1e-9 * moved.norm());
            moved = (t.transpose() * moved).eval();
            one = {modes.Modes(), {}, {0}, 1};
        }
    }
}

} // namespace
