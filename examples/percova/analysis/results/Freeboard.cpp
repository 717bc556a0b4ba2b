#include "analysis/results/Freeboard.h"

#include "analysis/flow/NodeConditions.h"
#include "mesh/Neighbours.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <string>
#include <utility>

namespace percova
{
namespace
{

/// A straight part of an upward side of the mesh, with the pressure heads at its ends.
struct Chord
{
    Point left, right;
    double psiLeft, psiRight;
    std::pair<int, int> side; ///< its corner nodes, ascending
    double HeightAt(double x) const { return Between(x, left.y, right.y); }
    double PsiAt(double x) const { return Between(x, psiLeft, psiRight); }

private:
    double Between(double x, double first, double last) const
    {
        return first + (last - first) * (x - left.x) / (right.x - left.x);
    }
};

/// The part of a chord that nothing is above.
struct GroundPart
{
    const Chord* chord;
    double from, to; ///< x
    bool isAtWater = false;
    Freeboard least = {};
};

std::pair<int, int> SideOf(const Edge& edge) { return std::minmax(edge.nodes[0], edge.nodes[1]); }

/// Value at @p t from 0 to 1 along a side.
template <class Values>
double Along(const Edge& edge, const Values& values, double t)
{
    const double first = values[std::size_t(edge.nodes[0])],
                 last = values[std::size_t(edge.nodes[1])];
    const double middle =
        edge.nodes[2] < 0 ? (first + last) / 2 : values[std::size_t(edge.nodes[2])];
    return first + (last - first) * t + (4 * middle - 2 * (first + last)) * t * (1 - t);
}

class Ground
{
public:
    Ground(const Model& model, const DataTable& nodal);

    /// Marks the slopes below and above the waterlines of @p step.
    void FindWater(const Model& model, const Step& step);
    /// Compares the parts with a segment of a phreatic line.
    void Compare(Point one, Point two);
    /// The least over the parts that @p isWanted takes.
    template <class Is>
    Freeboard Least(const std::string& name, Is isWanted) const
    {
        Freeboard least;
        for (const GroundPart& part : parts_)
            if (!IsMissingValue(part.least.distance) && isWanted(part) &&
                (IsMissingValue(least.distance) || part.least.distance < least.distance))
                least = part.least;
        least.name = name;
        return least;
    }

private:
    void AddChords(const Mesh& mesh, const DataTable::ConstValues& psi);
    void CutParts();
    void Extend(std::size_t at, int by);
    void CompareAt(GroundPart& part, Point line) const;

    std::vector<Chord> chords_;
    std::vector<GroundPart> parts_; ///< by x; they do not overlap
    double small_;                  ///< lengths below it are none [m]
};

Ground::Ground(const Model& model, const DataTable& nodal)
{
    const auto [left, right] = std::minmax_element(model.mesh.x.begin(), model.mesh.x.end());
    const auto [low, high] = std::minmax_element(model.mesh.y.begin(), model.mesh.y.end());
    small_ = 1e-9 * std::max(*right - *left, *high - *low);
    AddChords(model.mesh, nodal.Column(dataparam::PressureHead));
    CutParts();
}

/// An upward side runs to the left, as its element is on its left.
void Ground::AddChords(const Mesh& mesh, const DataTable::ConstValues& psi)
{
    for (const Edge& edge : RimOf(mesh))
    {
        const int count = edge.nodes[2] < 0 ? 1 : 16;
        for (int i = 0; i < count; ++i)
        {
            const double t0 = double(i) / count, t1 = double(i + 1) / count;
            const Point right{Along(edge, mesh.x, t0), Along(edge, mesh.y, t0)},
                left{Along(edge, mesh.x, t1), Along(edge, mesh.y, t1)};
            if (right.x - left.x > small_)
                chords_.push_back(
                    {left, right, Along(edge, psi, t1), Along(edge, psi, t0), SideOf(edge)});
        }
    }
}

/// Between two ends of chords the highest of them is the ground.
void Ground::CutParts()
{
    std::sort(chords_.begin(), chords_.end(),
              [](const Chord& one, const Chord& two) { return one.left.x < two.left.x; });
    std::vector<double> ends;
    for (const Chord& chord : chords_)
        ends.insert(ends.end(), {chord.left.x, chord.right.x});
    std::sort(ends.begin(), ends.end());
    std::vector<const Chord*> open;
    auto next = chords_.begin();
    for (std::size_t i = 1; i < ends.size(); ++i)
    {
        const double from = ends[i - 1], to = ends[i], middle = (from + to) / 2;
        if (to - from <= small_)
            continue;
        for (; next != chords_.end() && next->left.x < middle; ++next)
            open.push_back(&*next);
        std::erase_if(open, [&](const Chord* chord) { return chord->right.x < middle; });
        const auto top =
            std::max_element(open.begin(), open.end(), [&](const Chord* one, const Chord* two) {
                return one->HeightAt(middle) < two->HeightAt(middle);
            });
        if (top != open.end())
            parts_.push_back({*top, from, to});
    }
}

void Ground::FindWater(const Model& model, const Step& step)
{
    std::set<std::pair<int, int>> held;
    for (std::size_t b = 0; b < step.conditions.size(); ++b)
        if (HoldsHeads(step.conditions[b].type))
            for (const Edge& edge : model.boundaryEdges[b])
                held.insert(SideOf(edge));
    std::vector<std::size_t> wet;
    for (std::size_t i = 0; i < parts_.size(); ++i)
        if (parts_[i].chord->PsiAt((parts_[i].from + parts_[i].to) / 2) > small_ &&
            held.count(parts_[i].chord->side) != 0)
            wet.push_back(i);
    for (const std::size_t i : wet)
    {
        parts_[i].isAtWater = true;
        Extend(i, 1);
        Extend(i, -1);
    }
}

/// Marks what rises from part @p at to the right (@p by = 1) or to the left (-1).
void Ground::Extend(std::size_t at, int by)
{
    const auto height = [&](const GroundPart& part, bool isFarEnd) {
        return part.chord->HeightAt(isFarEnd == (by > 0) ? part.to : part.from);
    };
    for (;;)
    {
        const std::size_t next = at + std::size_t(by); // wraps below 0
        if (next >= parts_.size() || parts_[next].isAtWater)
            return;
        const GroundPart &here = parts_[at], &there = parts_[next];
        const double gap = by > 0 ? there.from - here.to : here.from - there.to;
        if (gap > 2 * small_ || std::abs(height(there, false) - height(here, true)) > 4 * small_ ||
            height(there, true) - height(there, false) <= small_)
            return;
        parts_[next].isAtWater = true;
        at = next;
    }
}

/// Both are straight, so that the distance is least at the ends of what they share.
void Ground::Compare(Point one, Point two)
{
    if (one.x > two.x)
        std::swap(one, two);
    auto part = std::lower_bound(parts_.begin(), parts_.end(), one.x - small_,
                                 [](const GroundPart& each, double x) { return each.to < x; });
    for (; part != parts_.end() && part->from <= two.x + small_; ++part)
        if (two.x - one.x <= small_)
            for (const Point& end : {one, two})
                CompareAt(*part, end);
        else
            for (const double x : {std::max(one.x, part->from), std::min(two.x, part->to)})
                CompareAt(*part, {x, one.y + (two.y - one.y) * (x - one.x) / (two.x - one.x)});
}

void Ground::CompareAt(GroundPart& part, Point line) const
{
    constexpr double kTouching = 1e3; // the surface's own tolerance, in small_
    const Point ground{line.x, part.chord->HeightAt(line.x)};
    const double distance = ground.y - line.y;
    const bool isTouching = std::abs(distance) <= kTouching * small_;
    if (!isTouching && (distance < 0 || part.chord->PsiAt(line.x) > kTouching * small_))
        return;
    if (IsMissingValue(part.least.distance) || distance < part.least.distance)
        part.least = {{}, std::max(distance, 0.0), line, ground};
}

} // namespace

void FindFreeboards(const Model& model, const Step& step, StepResult& result)
{
    result.freeboards.clear();
    if (result.surface.empty())
        return;
    Ground ground(model, result.nodal);
    ground.FindWater(model, step);
    for (const Polyline& line : result.surface)
        for (std::size_t i = 1; i < line.size(); ++i)
            ground.Compare(line[i - 1], line[i]);
    const auto add = [&](const Freeboard& least) {
        if (!IsMissingValue(least.distance))
            result.freeboards.push_back(least);
    };
    add(ground.Least("ground surface", [](const GroundPart& part) { return !part.isAtWater; }));
    std::vector<std::pair<std::string, std::set<std::pair<int, int>>>> sides;
    for (std::size_t b = 0; b < model.boundaryEdges.size(); ++b)
    {
        sides.push_back({model.problem.boundaries[b].name, {}});
        for (const Edge& edge : model.boundaryEdges[b])
            sides.back().second.insert(SideOf(edge));
    }
    std::map<int, std::set<std::pair<int, int>>> curves;
    for (const Edge& edge : model.mesh.edges)
        if (edge.group >= 0)
            curves[edge.group].insert(SideOf(edge));
    for (const auto& [group, edges] : curves)
        if (const std::string& name = model.mesh.curves[std::size_t(group)].name; std::none_of(
                sides.begin(), sides.end(), [&](const auto& side) { return side.first == name; }))
            sides.push_back({name, edges});
    for (const auto& [name, edges] : sides)
        add(ground.Least(name, [&, &of = edges](const GroundPart& part) {
            return of.count(part.chord->side) != 0;
        }));
}

} // namespace percova
