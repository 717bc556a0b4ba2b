#include "analysis/flow/Lines.h"

#include "analysis/flow/NodeConditions.h"
#include "mesh/CurveLine.h"
#include "mesh/MeshGeometry.h"
#include "problem/NumberText.h"
#include "problem/ProblemReader.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

namespace percova
{
namespace
{

constexpr double kWhole = 1e-6; ///< a share of a line outside the mesh that is still rounding

/// The shares of one source, by node.
class Shares
{
public:
    explicit Shares(const Mesh& mesh) : mesh_(mesh) {}

    /// Adds @p weight at a point that lies in all of @p places.
    void Add(const std::vector<ElementPlace>& places, double weight)
    {
        for (const ElementPlace& place : places)
        {
            const ElementType type = mesh_.type[place.element];
            double N[8];
            Shape_Function(N, place.r, place.s, PlaceFlags(type));
            for (int k = 0; k < NodeCount(type); ++k)
                Add(mesh_.ElementNodes(place.element)[k],
                    N[PlaceOf(type, k)] * weight / double(places.size()));
        }
    }
    void Add(int node, double weight)
    {
        shares_.push_back({node, weight});
        sum_ += weight;
    }

    /// One for each node, ascending; the sum is 1.
    std::vector<NodeShare> Take()
    {
        std::stable_sort(
            shares_.begin(), shares_.end(),
            [](const NodeShare& one, const NodeShare& two) { return one.node < two.node; });
        std::vector<NodeShare> taken;
        for (const NodeShare& each : shares_)
        {
            if (taken.empty() || taken.back().node != each.node)
                taken.push_back({each.node, 0});
            taken.back().share += each.share / sum_;
        }
        return taken;
    }

private:
    const Mesh& mesh_;
    std::vector<NodeShare> shares_;
    double sum_ = 0;
};

class LineBinder
{
public:
    LineBinder(const LineCutter& cutter, Model& model, Faults& faults)
        : cutter_(cutter), model_(model), mesh_(model.mesh), faults_(faults)
    {
    }

    std::vector<NodeShare> SharesOf(const Source& source);
    /// The physical curve that @p line is named after; none, and a fault, when it is no line.
    Polyline CurveOf(const std::string& what, const Section& line);
    /// The pieces of @p line; none, and a fault, when it leaves the mesh.
    std::vector<LinePiece> PiecesOf(const std::string& what, const Place& place,
                                    const Polyline& line);

private:
    void AddCurve(const std::string& name, Shares& shares) const;
    std::string Shown(Point at) const
    {
        const double metres = model_.problem.units.metres;
        return '(' + Short(at.x / metres) + ", " + Short(at.y / metres) + ')';
    }

    const LineCutter& cutter_;
    Model& model_;
    const Mesh& mesh_;
    Faults& faults_;
};

void LineBinder::AddCurve(const std::string& name, Shares& shares) const
{
    for (const Edge& edge : mesh_.edges)
    {
        if (mesh_.curves[std::size_t(edge.group)].name != name)
            continue;
        EdgePoint points[kEdgePoints];
        PointsOf(mesh_, edge, points);
        for (const EdgePoint& point : points)
            for (int k = 0; k < 3 && edge.nodes[k] >= 0; ++k)
                shares.Add(edge.nodes[k], point.N[k] * point.length);
    }
}

std::vector<NodeShare> LineBinder::SharesOf(const Source& source)
{
    Shares shares(mesh_);
    const auto error = [&](const std::string& text) {
        faults_.Error(model_.problem.file, source.place,
                      "the source '" + source.name + "' " + text);
        return std::vector<NodeShare>();
    };
    if (source.line.empty() && IndexOf(mesh_.curves, source.name) >= 0)
    {
        AddCurve(source.name, shares);
        return shares.Take();
    }
    if (source.line.empty())
        return error("is no physical curve of " + mesh_.file + ", which has " +
                     NamesOf(mesh_.curves) + ", and has neither \"at\" nor \"line\"");
    if (source.line.size() == 1)
    {
        const std::vector<ElementPlace> places = model_.finder->At(mesh_, source.line.front());
        if (places.empty())
            return error("at " + Shown(source.line.front()) + " lies in no element of " +
                         mesh_.file);
        shares.Add(places, 1);
        return shares.Take();
    }
    const std::vector<LinePiece> pieces =
        PiecesOf("source '" + source.name + '\'', source.place, source.line);
    for (const LinePiece& piece : pieces)
        for (int p = 0; p < kLinePoints && !piece.elements.empty(); ++p)
        {
            std::vector<ElementPlace> places;
            for (std::size_t k = 0; k < piece.elements.size(); ++k)
                places.push_back(piece.PlaceAt(mesh_, k, kLineAt[p]));
            shares.Add(places, kLineWeight[p] * piece.length);
        }
    return shares.Take();
}

Polyline LineBinder::CurveOf(const std::string& what, const Section& line)
{
    const int group = IndexOf(mesh_.curves, line.name);
    Polyline curve;
    if (group >= 0)
        curve = LineOfCurve(mesh_, group);
    if (curve.empty())
        faults_.Error(model_.problem.file, line.place,
                      "the " + what +
                          (group < 0 ? " is no physical curve of " + mesh_.file + ", which has " +
                                           NamesOf(mesh_.curves) + ", and has no \"line\""
                                     : " is a physical curve of " + mesh_.file +
                                           " that is in several pieces, branches or is closed"));
    return curve;
}

std::vector<LinePiece> LineBinder::PiecesOf(const std::string& what, const Place& place,
                                            const Polyline& line)
{
    if (line.empty())
        return {}; // reported
    std::vector<LinePiece> pieces = cutter_.Cut(line);
    const double length = LengthOf(line), outside = length - LengthInside(pieces);
    std::string fault;
    if (!(length > 0))
        fault = " has no length";
    else if (outside > kWhole * length)
    {
        const auto first = std::find_if(pieces.begin(), pieces.end(), [](const LinePiece& piece) {
            return piece.elements.empty();
        });
        fault = " lies outside " + mesh_.file + " with " + Short(100 * outside / length, 2) +
                " % of its length, from " + Shown(first->from) + " to " + Shown(first->to) +
                " at first";
    }
    if (fault.empty())
        return pieces;
    faults_.Error(model_.problem.file, place, "the " + what + fault);
    return {};
}

} // namespace

void BindSources(const LineCutter& cutter, Model& model, Faults& faults)
{
    LineBinder binder(cutter, model, faults);
    for (const Source& source : model.problem.sources)
        model.sourceShares.push_back(binder.SharesOf(source));
}

void BindUplifts(const LineCutter& cutter, Model& model, Faults& faults)
{
    LineBinder binder(cutter, model, faults);
    for (const Section& line : model.problem.uplifts)
        model.upliftPieces.push_back(binder.PiecesOf(
            "line of uplift '" + line.name + '\'', line.place,
            line.line.empty() ? binder.CurveOf("line of uplift '" + line.name + '\'', line)
                              : line.line));
}

} // namespace percova
