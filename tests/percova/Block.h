/// @file
/// A problem with exact answers for any mesh: a block of saturated sand between two heads.
#pragma once

#include "CaseRun.h"
#include "Scratch.h"
#include "analysis/Binding.h"

namespace percova::testing
{

constexpr ElementType kTypes[] = {ElementType::T3, ElementType::Q4, ElementType::T6,
                                  ElementType::Q8};

/// 6 m by 5 m, k = 1e-5 m/s, 6 m of head on the left and 3 m on the right.
inline nlohmann::json Block()
{
    return nlohmann::json::parse(R"({"gamma_w": 9.81, "mesh": {"file": "none.msh"},
        "materials": [{"name": "sand", "k_sat": 1e-5}],
        "regions": [{"name": "block", "material": "sand",
                     "polygon": [[0, 0], [6, 0], [6, 5], [0, 5]]}],
        "boundaries": [
            {"name": "left", "line": [[0, 0], [0, 5]], "type": "head", "value": 6},
            {"name": "right", "line": [[6, 0], [6, 5]], "type": "head", "value": 3}]})");
}

/// The block's mesh; its upper side is the physical curve "top".
inline Grid BlockGrid(ElementType type)
{
    Grid grid = Rectangle(type, 6, 5, 0, 0, 6, 5);
    grid.curve = [](Point at) { return at.y > 4.99 ? "top" : ""; };
    return grid;
}

/// Binds @p problem to the block's mesh. @returns every fault, one in a line
inline std::string FaultsOf(const nlohmann::json& problem, ElementType type, Model& model)
{
    Faults faults;
    model = {};
    model.problem.path = L"block.problem.json";
    model.mesh = MakeMesh(BlockGrid(type));
    if (ReadProblemText(problem.dump(), model.problem, faults))
        (void)Bind(model, faults); // its faults are returned
    return AllOf(faults);
}

/// Runs @p problem on the block's mesh.
inline const StepResult& SolveBlock(CaseRun& run, const nlohmann::json& problem, ElementType type)
{
    EXPECT_EQ(FaultsOf(problem, type, run.model), "");
    return run.On(BlockGrid(type), SolverKind::Direct);
}

} // namespace percova::testing
