/// @file
/// Runs a case of the example engine on one of its meshes or on a grid, for the tests.
#pragma once

#include "analysis/model/Model.h"
#include "analysis/model/Results.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <functional>
#include <string>

namespace percova::testing
{

constexpr ElementType kElementTypes[] = {ElementType::T3, ElementType::Q4, ElementType::T6,
                                         ElementType::Q8};

/// The image of the unit square, cut into equal steps of u and v.
struct Grid
{
    ElementType type;
    int columns, rows;                              ///< of quadrilaterals, or of pairs of triangles
    std::function<Point(double u, double v)> place; ///< u and v from 0 to 1
    /// Name of the physical curve that a side on the rim belongs to, by the middle of its chord.
    /// May be empty: then the lines of the problem file find the sides.
    std::function<std::string(Point middle)> curve = {};
};
Mesh MakeMesh(const Grid& grid);

/// The rectangle from (x0, y0) to (x1, y1).
Grid Rectangle(ElementType type, int columns, int rows, double x0, double y0, double x1, double y1);

template <class Item>
const Item& Named(const std::vector<Item>& items, const std::string& name)
{
    static const Item kNone{};
    for (const Item& item : items)
        if (item.name == name)
            return item;
    ADD_FAILURE() << "no result " << name;
    return kNone;
}

struct CaseRun
{
    Model model;
    Results results;
    nlohmann::json reference;

    /// Reads the problem and its references; a failure is a failure of the test.
    /// @param set  values by their JSON pointers, put into the problem
    explicit CaseRun(const std::string& name, const nlohmann::json& set = {});

    void AddProbe(const std::string& name, double x, double y)
    {
        model.problem.probes.push_back({name, {x, y}, {}});
    }
    /// One probe for each reference value with a position, under the value's name.
    void AddProbesOfReferences();
    /// Reads "cases/mesh/NAME.VARIANT.msh", as "q4.v22".
    void Read(const std::string& variant);
    /// Runs on it.
    const StepResult& On(const std::string& variant, SolverKind kind);
    const StepResult& On(const Grid& grid, SolverKind kind);

    double Value(const std::string& name) const; ///< a reference
    const StepResult& Result() const { return results.steps.front(); }
    double Flow(const std::string& boundary) const
    {
        return Named(Result().boundaries, boundary).flow;
    }
    const ProbeValue& Probed(const std::string& name) const { return Named(Result().probes, name); }
    /// Height of the highest zero-pressure line at @p x; missing where there is none.
    double SurfaceAt(double x) const;

private:
    const StepResult& Solve(SolverKind kind);
    std::string name_;
};

/// The solver families in turn, so that a table of cases tests each on many.
SolverKind KindInTurn();

/// False where code is slow: without optimisation and under sanitizers. There the large meshes
/// are left out.
bool IsThorough();

#define EXPECT_WITHIN(actual, expected, relative)                                                  \
    EXPECT_NEAR(actual, expected, std::abs(expected) * (relative))

} // namespace percova::testing
