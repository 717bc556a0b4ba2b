#include "analysis/flow/Levels.h"

#include "analysis/flow/NodeConditions.h"
#include "mesh/Connectivity.h"
#include "mesh/MeshGeometry.h"
#include "problem/NumberText.h"

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace percova
{
namespace
{

class LevelCheck
{
public:
    LevelCheck(const Model& model, Faults& faults)
        : model_(model), faults_(faults), parts_(PartsOf(model.mesh)),
          isReported_(std::size_t(parts_.count))
    {
    }

    /// @param what  the step, or what else the conditions are those of
    /// @param isSet  by part: whether something besides the boundaries sets the level
    void Check(const Step& step, const std::string& what, const Place& place,
               std::vector<char> isSet)
    {
        const NodeConditions conditions = Gather(model_, step);
        for (std::size_t n = 0; n < parts_.ofNode.size(); ++n)
            if (conditions.HasHead(n) || conditions.seepage[n] >= 0)
                isSet[parts_.ofNode[n]] = 1;
        for (int part = 0; part < parts_.count; ++part)
            if (!isSet[part] && !std::exchange(isReported_[part], 1))
                faults_.Error(model_.problem.file, place,
                              what + "no boundary gives a head or lets water out" + Where(part) +
                                  ", so nothing sets the level of the heads" +
                                  (parts_.count > 1 ? " there" : ""));
    }

    std::vector<char> None() const { return std::vector<char>(isReported_.size()); }
    /// By part: whether it has an element that can store water.
    std::vector<char> Storing() const
    {
        std::vector<char> stores = None();
        for (std::size_t e = 0; e < model_.mesh.Elements(); ++e)
        {
            const Material& soil = model_.problem.materials[model_.material[e]];
            if (soil.mV > 0 || soil.water)
                stores[PartOf(e)] = 1;
        }
        return stores;
    }

private:
    int PartOf(std::size_t e) const { return parts_.ofNode[*model_.mesh.ElementNodes(e)]; }

    /// The part by its number of elements and the first of them; empty when there is but one part.
    std::string Where(int part) const
    {
        if (parts_.count == 1)
            return {};
        const Mesh& mesh = model_.mesh;
        std::size_t count = 0, first = 0;
        for (std::size_t e = 0; e < mesh.Elements(); ++e)
            if (PartOf(e) == part && count++ == 0)
                first = e;
        const Point centre = CentreOf(mesh, first);
        return " in one of the " + std::to_string(parts_.count) +
               " parts of the mesh that share no nodes, " + std::to_string(count) +
               " elements with element " + std::to_string(mesh.elementNumber[first]) + " at (" +
               Short(centre.x) + ", " + Short(centre.y) + ") among them";
    }

    const Model& model_;
    Faults& faults_;
    MeshParts parts_;
    std::vector<char> isReported_; ///< by part
};

} // namespace

void CheckLevels(const Model& model, Faults& faults)
{
    const Problem& problem = model.problem;
    LevelCheck check(model, faults);
    const Place boundaries{"boundaries", 0};
    if (!problem.time)
    {
        for (const Step& step : problem.steps)
            check.Check(step, problem.steps.size() > 1 ? "step " + step.name + ": " : "",
                        step.place.key.empty() ? boundaries : step.place, check.None());
        return;
    }
    Step start = StepAt(problem, 0, Side::After);
    check.Check(start, "", boundaries, check.Storing());
    if (problem.initial.type != InitialType::Steady)
        return;
    if (!problem.initial.conditions.empty())
        start.conditions = problem.initial.conditions;
    check.Check(start, "the initial state cannot be steady: ", problem.initial.place, check.None());
}

} // namespace percova
