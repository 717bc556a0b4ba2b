// Probes and sections: which elements hold a point, and the flow across a line.
#include "CaseRun.h"
#include "mesh/ElementFinder.h"

#include <gmock/gmock.h>

#include <cmath>
#include <random>

namespace percova::testing
{
namespace
{

TEST(ElementFinder, AgreesWithASearchOfAllElements)
{
    std::mt19937 random(7);
    for (const ElementType type : kElementTypes)
    {
        SCOPED_TRACE(Name(type));
        // a quarter of a ring of radii 1 and 3; u goes outward
        const Mesh mesh = MakeMesh({type, 6, 7, [](double u, double v) {
                                        const double angle = v * std::acos(0.0), r = 1 + 2 * u;
                                        return Point{r * std::cos(angle), r * std::sin(angle)};
                                    }});
        const ElementFinder finder(mesh);
        std::uniform_real_distribution<double> any(-0.1, 3.1);
        std::size_t found = 0;
        for (std::size_t i = 0; i < 4000; ++i)
        {
            Point at{any(random), any(random)};
            if (i % 4 == 0) // on the curved rim, where only the middles of sides bulge
                at = {3 * std::cos(at.x), 3 * std::sin(at.x)};
            if (i % 4 == 1) // a node
                at = {mesh.x[i % mesh.Nodes()], mesh.y[i % mesh.Nodes()]};
            std::vector<std::size_t> expected, actual;
            ElementPlace place;
            for (std::size_t e = 0; e < mesh.Elements(); ++e)
                if (FindInElement(mesh, e, at, place) == kLocalCoordsInside)
                    expected.push_back(e);
            Geom::Extents2D here;
            Geom::ExtentsGrow2D(here, at);
            for (const ElementPlace& each :
                 i % 8 < 4 ? finder.At(mesh, at) : ElementFinder(mesh, {here}).At(mesh, at))
                actual.push_back(each.element);
            ASSERT_EQ(actual, expected) << at.x << ' ' << at.y;
            found += actual.size();
        }
        EXPECT_GT(found, 2000u);
    }
}

// The gradient is 1/2 everywhere, so a part of a section is known as well.
TEST(Sections, GiveTheFlowOfUniformGradients)
{
    for (const ElementType type : kElementTypes)
    {
        SCOPED_TRACE(Name(type));
        CaseRun run("S7-block");
        Problem& problem = run.model.problem;
        problem.materials.front().kr.rule = KrRule::Saturated;
        problem.steps.front().conditions[0].values = {6};
        problem.steps.front().conditions[1].values = {3};
        problem.sections = {
            {"along the sides of elements", {{3, 5}, {3, 0}}, {}},
            {"upward", {{2.2, 0}, {2.2, 5}}, {}},
            {"oblique", {{1.1, 5.3}, {4.7, -0.6}}, {}},
            {"part", {{2.3, 3.7}, {2.9, 1.2}}, {}},
            {"broken", {{2, 6}, {2.5, 2.5}, {2.5, 2.5}, {1.7, -1}}, {}},
            {"with the flow", {{0, 2.2}, {6, 2.2}}, {}},
            {"outside", {{7, 0}, {8, 5}}, {}},
        };
        const StepResult& step = run.On(Rectangle(type, 6, 5, 0, 0, 6, 5), SolverKind::Direct);
        const double flux = 0.5 * problem.materials.front().kSat;
        const double rise[] = {-5, 5, -5, -2.5, -5, 0}; // of the parts in the soil
        for (std::size_t i = 0; i < 6; ++i)
            EXPECT_NEAR(step.sections[i].flow / flux, rise[i], 1e-9) << problem.sections[i].name;
        EXPECT_EQ(step.sections[6].flow, kMissing);
        EXPECT_THAT(step.warnings,
                    ::testing::ElementsAre(
                        "section 'oblique' lies outside the mesh with 15 % of its length, where "
                        "nothing is counted",
                        ::testing::StartsWith("section 'broken' lies outside the mesh with 29 %"),
                        "section 'outside' does not meet the mesh, so it has no flow"));
    }
}

// A line from rim to rim carries everything, wherever it goes: in a quarter of a ring, in a dam.
TEST(Sections, CarryTheFlowFromRimToRim)
{
    const std::vector<Section> ring{{"straight", {{6, -1}, {-1, 6}}, {}},
                                    {"bent", {{5, 0}, {5, 5}, {0, 4}}, {}}};
    std::vector<Section> dam;
    for (const double x : {1.7, 5.0, 8.0, 11.1})
        dam.push_back({"", {{x, 24}, {x + 1, 0}}, {}});
    const struct
    {
        const char *name, *mesh;
        const std::vector<Section>& sections;
    } rows[] = {{"C3-annulus", "q8.v41", ring}, {"C3-annulus", "t6.v22", ring},
                {"U1-dam", "q4.v22", dam},      {"U1-dam", "q8.v41", dam},
                {"U1-dam", "t3.v41", dam},      {"U1-dam", "t6.v22", dam}};
    for (const auto& [name, mesh, sections] : rows)
    {
        SCOPED_TRACE(std::string(name) + ' ' + mesh);
        CaseRun run(name);
        run.model.problem.sections = sections;
        const StepResult& step = run.On(mesh, SolverKind::Direct);
        for (const SectionFlow& section : step.sections)
            EXPECT_WITHIN(&sections == &dam ? section.flow : -std::abs(section.flow), -step.flowIn,
                          1e-8);
    }
}
} // namespace
} // namespace percova::testing
