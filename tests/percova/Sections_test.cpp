// Probes and sections: which elements hold a point, and the flow across a line.
#include "CaseRun.h"
#include "mesh/ElementFinder.h"

#include <cmath>
#include <random>

namespace percova::testing
{
namespace
{
constexpr ElementType kTypes[] = {ElementType::T3, ElementType::Q4, ElementType::T6,
                                  ElementType::Q8};

/// A quarter of a ring of radii 1 and 3; u goes outward.
Grid Quarter(ElementType type, int columns, int rows)
{
    return {type, columns, rows, [](double u, double v) {
                const double angle = v * std::acos(0.0);
                return Point{(1 + 2 * u) * std::cos(angle), (1 + 2 * u) * std::sin(angle)};
            }};
}

TEST(ElementFinder, FindsWhatAllElementsTell)
{
    std::mt19937 random(7);
    for (const ElementType type : kTypes)
    {
        SCOPED_TRACE(percova::Name(type));
        const Mesh mesh = MakeMesh(Quarter(type, 6, 7));
        const ElementFinder finder(mesh);
        std::uniform_real_distribution<double> any(-0.1, 3.1), angle(0, std::acos(0.0));
        std::size_t found = 0;
        for (int i = 0; i < 4000; ++i)
        {
            Point at{any(random), any(random)};
            if (i % 4 == 0) // on the curved rim, where only the middles of sides bulge
                at = {3 * std::cos(at.x), 3 * std::sin(at.x)};
            if (i % 4 == 1) // a node
                at = {mesh.x[std::size_t(i) % mesh.Nodes()], mesh.y[std::size_t(i) % mesh.Nodes()]};
            std::vector<std::size_t> expected, actual;
            ElementPlace place;
            for (std::size_t e = 0; e < mesh.Elements(); ++e)
                if (FindInElement(mesh, e, at, place) == kLocalCoordsInside)
                    expected.push_back(e);
            for (const ElementPlace& each : finder.At(mesh, at))
                actual.push_back(each.element);
            ASSERT_EQ(actual, expected) << at.x << ' ' << at.y;
            found += actual.size();
        }
        EXPECT_GT(found, 2000u);
    }
}

double SectionFlow(CaseRun& run, std::size_t i)
{
    return run.results.steps.front().sections.at(i).flow;
}

// The gradient is 1/2 everywhere, so a part of a section is known as well.
TEST(Sections, GiveTheFlowOfUniformGradients)
{
    for (const ElementType type : kTypes)
    {
        SCOPED_TRACE(percova::Name(type));
        CaseRun run("S7-block");
        Problem& problem = run.model.problem;
        problem.materials.front().kr.rule = KrRule::Saturated;
        for (std::size_t i : {0u, 1u})
        {
            Condition& condition = problem.steps.front().conditions[i];
            condition.type = BoundaryType::Head;
            condition.values = {i == 0 ? 6.0 : 3.0};
        }
        const double flux = 0.5 * problem.materials.front().kSat;
        problem.sections = {
            {"along the sides of elements", {{3, 5}, {3, 0}}, {}},
            {"upward", {{2.2, 0}, {2.2, 5}}, {}},
            {"oblique", {{1.1, 5.3}, {4.7, -0.6}}, {}},
            {"part", {{2.3, 3.7}, {2.9, 1.2}}, {}},
            {"broken", {{2, 6}, {2.5, 2.5}, {2.5, 2.5}, {1.7, -1}}, {}},
            {"with the flow", {{0, 2.2}, {6, 2.2}}, {}},
            {"outside", {{7, 0}, {8, 5}}, {}},
        };
        run.On(Rectangle(type, 6, 5, 0, 0, 6, 5), SolverKind::Direct);
        const double rise[] = {-5, 5, -5, -2.5, -5, 0}; // of the parts in the soil
        for (std::size_t i = 0; i < 6; ++i)
            EXPECT_NEAR(SectionFlow(run, i) / flux, rise[i], 1e-9) << problem.sections[i].name;
        EXPECT_EQ(SectionFlow(run, 6), kMissing);
        const std::vector<std::string>& told = run.results.steps.front().warnings;
        ASSERT_EQ(told.size(), 3u);
        EXPECT_EQ(told[0], "section 'oblique' lies outside the mesh with 15 % of its length, where "
                           "nothing is counted");
        EXPECT_EQ(told[1].find("section 'broken' lies outside the mesh with 29 %"), 0u) << told[1];
        EXPECT_EQ(told[2], "section 'outside' does not meet the mesh, so it has no flow");
    }
}

// A line from rim to rim of a quarter ring carries everything, wherever it goes.
TEST(Sections, CutCurvedElements)
{
    for (const ElementType type : {ElementType::T6, ElementType::Q8})
    {
        SCOPED_TRACE(percova::Name(type));
        CaseRun run("C3-annulus");
        run.model.problem.sections = {{"straight", {{6, -1}, {-1, 6}}, {}},
                                      {"bent", {{5, 0}, {5, 5}, {0, 4}}, {}}};
        run.On(type == ElementType::Q8 ? "q8.v41" : "t6.v22", SolverKind::Direct);
        const double flow = std::abs(run.results.steps.front().flowIn);
        for (std::size_t i : {0u, 1u})
            EXPECT_WITHIN(std::abs(SectionFlow(run, i)), flow, 1e-8);
    }
}

TEST(Sections, CarryTheFlowOfADam)
{
    for (const char* mesh : {"q4.v22", "q8.v41", "t3.v41", "t6.v22"})
    {
        SCOPED_TRACE(mesh);
        CaseRun run("U1-dam");
        for (const double x : {1.7, 5.0, 8.0, 11.1})
            run.model.problem.sections.push_back({"", {{x, 24}, {x + 1, 0}}, {}});
        const StepResult& step = run.On(mesh, SolverKind::Direct);
        for (std::size_t i = 0; i < step.sections.size(); ++i)
            EXPECT_WITHIN(step.sections[i].flow, -step.flowIn, 1e-8) << i;
    }
}
} // namespace
} // namespace percova::testing
