#include "analysis/results/SectionSides.h"

#include "mesh/MeshGeometry.h"
#include "mesh/Neighbours.h"

#include <algorithm>
#include <utility>

namespace percova
{
namespace
{

enum class LineSide : char
{
    Unknown,
    Left,
    Right
};

double Turn(Point a, Point b, Point c) // positive when c is on the left of the way from a to b
{
    return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

/// The side of @p line that @p at is on.
/// @param beyond  whether its ends count, straight on; else what is nearest to an end is unknown
LineSide SideOfLine(const Polyline& line, Point at, bool beyond)
{
    const PlaceOnLine place = NearestOn(line, at);
    const std::size_t i = place.segment, last = line.size() - 2;
    double turn = Turn(line[i], line[i + 1], at);
    const bool atStart = place.fraction <= 0, atEnd = place.fraction >= 1;
    if (!beyond && ((atStart && i == 0) || (atEnd && i == last)))
        return LineSide::Unknown;
    // Around a corner of the line lies the side that it turns away from.
    if (atStart && i > 0)
        turn = -Turn(line[i - 1], line[i], line[i + 1]);
    else if (atEnd && i < last)
        turn = -Turn(line[i], line[i + 1], line[i + 2]);
    return turn > 0 ? LineSide::Left : turn < 0 ? LineSide::Right : LineSide::Unknown;
}

class Divider
{
public:
    Divider(const Mesh& mesh, const Polyline& line)
        : mesh_(mesh), line_(line), tolerance_(10 * PrecisionFor(mesh).epsilon[0]),
          isOn_(mesh.Nodes()), isCut_(mesh.Elements()), node_(mesh.Nodes(), LineSide::Unknown),
          part_(mesh.Elements(), -1)
    {
        for (std::size_t n = 0; n < mesh.Nodes(); ++n)
            isOn_[n] = IsOn({mesh.x[n], mesh.y[n]});
    }

    bool Divide(const std::vector<std::size_t>& cut)
    {
        for (const std::size_t e : cut)
            isCut_[e] = 1;
        GatherNeighbours();
        for (std::size_t e = 0; e < mesh_.Elements(); ++e)
            if (!isCut_[e] && part_[e] < 0)
                Flood(e);
        return LabelParts() && LabelNodes();
    }

    /// @param here  the side that the nodes on the line count to
    std::vector<SectionSides::Share> Shares(LineSide here) const
    {
        const LineSide there = here == LineSide::Left ? LineSide::Right : LineSide::Left;
        std::vector<SectionSides::Share> shares;
        for (std::size_t e = 0; e < mesh_.Elements(); ++e)
        {
            const int count = NodeCount(mesh_.type[e]);
            unsigned left = 0, all = (1u << count) - 1;
            for (int k = 0; k < count; ++k)
            {
                const int n = mesh_.ElementNodes(e)[k];
                left |= (isOn_[n] ? here : node_[n]) == LineSide::Left ? 1u << k : 0;
            }
            // The elements of a part all lie on its side, with their nodes on the line.
            if (left != 0 && left != all && (isCut_[e] || label_[part_[e]] == there))
                shares.push_back({e, left});
        }
        return shares;
    }
    const std::vector<char>& IsOnLine() const { return isOn_; }

private:
    bool IsOn(Point at) const { return NearestOn(line_, at).distance <= tolerance_; }

    /// The elements beside each other, but for sides that lie on the line.
    void GatherNeighbours()
    {
        neighbours_.resize(mesh_.Elements());
        ForEachSide(mesh_, [&](const Edge& edge) {
            if (edge.opposite < 0)
                return;
            const auto [a, b, m] = edge.nodes;
            const Point middle{(mesh_.x[a] + mesh_.x[b]) / 2, (mesh_.y[a] + mesh_.y[b]) / 2};
            const bool lies = isOn_[a] && isOn_[b] && (m >= 0 ? isOn_[m] != 0 : IsOn(middle));
            neighbours_[edge.element].emplace_back(edge.opposite, lies);
            neighbours_[edge.opposite].emplace_back(edge.element, lies);
        });
    }

    void Flood(std::size_t from)
    {
        std::vector<std::size_t> open{from};
        part_[from] = int(label_.size());
        label_.push_back(LineSide::Unknown);
        while (!open.empty())
        {
            const std::size_t e = open.back();
            open.pop_back();
            for (const auto& [other, lies] : neighbours_[e])
                if (!lies && !isCut_[other] && part_[other] < 0)
                {
                    part_[other] = part_[e];
                    open.push_back(std::size_t(other));
                }
        }
    }

    /// @returns false when a part is on both sides
    bool LabelParts()
    {
        for (std::size_t e = 0; e < mesh_.Elements(); ++e)
        {
            const bool touches =
                std::any_of(neighbours_[e].begin(), neighbours_[e].end(),
                            [&](const auto& each) { return each.second || isCut_[each.first]; });
            if (isCut_[e] || !touches)
                continue;
            const LineSide side = SideOfLine(line_, CentreOf(mesh_, e), false);
            LineSide& label = label_[part_[e]];
            if (side != LineSide::Unknown && label != LineSide::Unknown && side != label)
                return false;
            label = side == LineSide::Unknown ? label : side;
        }
        return true;
    }

    /// @returns false when a node off the line is on both sides
    bool LabelNodes()
    {
        for (std::size_t e = 0; e < mesh_.Elements(); ++e)
            for (int k = mesh_.start[e]; k < mesh_.start[e + 1] && !isCut_[e]; ++k)
            {
                LineSide& side = node_[mesh_.nodes[k]];
                const LineSide label = label_[part_[e]];
                if (isOn_[mesh_.nodes[k]] || label == LineSide::Unknown)
                    continue;
                if (side != LineSide::Unknown && side != label)
                    return false;
                side = label;
            }
        for (std::size_t n = 0; n < mesh_.Nodes(); ++n)
            if (!isOn_[n] && node_[n] == LineSide::Unknown)
                node_[n] = SideOfLine(line_, {mesh_.x[n], mesh_.y[n]}, true);
        return true;
    }

    const Mesh& mesh_;
    const Polyline& line_;
    double tolerance_;
    std::vector<char> isOn_, isCut_; ///< by node, by element
    std::vector<LineSide> node_;
    std::vector<int> part_; ///< by element: that of the elements that are not cut, -1 where it is
    std::vector<LineSide> label_; ///< by part
    std::vector<std::vector<std::pair<int, bool>>> neighbours_;
};

} // namespace

SectionSides::SectionSides(const Mesh& mesh, const Polyline& line,
                           const std::vector<std::size_t>& cut)
{
    Divider divider(mesh, line);
    if (!divider.Divide(cut))
        return;
    shares_ = divider.Shares(LineSide::Left);
    if (shares_.empty()) // all elements are on the left: the line goes along the rim
        shares_ = divider.Shares(LineSide::Right);
    divides_ = !shares_.empty();
    isOn_ = divider.IsOnLine();
}

} // namespace percova
