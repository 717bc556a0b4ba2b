#include "analysis/results/Surface.h"

#include "KVI.h"
#include "analysis/model/Element.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <map>
#include <utility>

namespace percova
{
namespace
{
// Every element is cut into n x n cells of two triangles (a triangle into n x n triangles), and the
// line is followed through them. Corners of the cells have names that neighbours share, so the
// pieces are joined by name and not by coordinates.
using CornerName = std::array<std::int64_t, 3>;         // kind or nodes of its side, place
using CrossingName = std::pair<CornerName, CornerName>; // the two ends of a cell side, ascending

struct Corner
{
    CornerName name;
    Point at;
    double psi = 0;
};

struct Crossing
{
    Point at;
    std::array<int, 2> pieces{-1, -1};
};

/// The line through one triangle.
struct Piece
{
    CrossingName first, second;
    bool betweenNodes; ///< in an element that has wet and dry nodes
};

class Tracer
{
public:
    Tracer(const Mesh& mesh, std::vector<double> psi, const std::vector<int>& dry)
        : mesh_(mesh), psi_(std::move(psi))
    {
        const auto [low, high] = std::minmax_element(mesh.y.begin(), mesh.y.end());
        zero_ = 1e-9 * (*high - *low);
        for (const int node : dry)
            psi_[node] = std::min(psi_[node], -2 * zero_);
    }

    void Element(std::size_t e)
    {
        const int* nodes = mesh_.ElementNodes(e);
        double low = psi_[nodes[0]], high = low;
        for (int k = 1; k < NodeCount(mesh_.type[e]); ++k)
        {
            low = std::min(low, psi_[nodes[k]]);
            high = std::max(high, psi_[nodes[k]]);
        }
        // Between its nodes a quadratic element may exceed their values.
        const double spare = IsQuadratic(mesh_.type[e]) ? (high - low) / 2 : 0;
        if (IsWet(low - spare) == IsWet(high + spare))
            return;
        betweenNodes_ = IsWet(low) != IsWet(high);
        const int n = IsQuadratic(mesh_.type[e]) ? 6 : mesh_.type[e] == ElementType::Q4 ? 3 : 1;
        const bool triangle = Corners(mesh_.type[e]) == 3;
        Corner grid[7][7];
        for (int i = 0; i <= n; ++i)
            for (int j = 0; j <= (triangle ? n - i : n); ++j)
                grid[i][j] = At(e, i, j, n);
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < (triangle ? n - i : n); ++j)
            {
                Cut(grid[i][j], grid[i + 1][j], grid[i][j + 1]);
                if (!triangle || i + j + 1 < n)
                    Cut(grid[i + 1][j], grid[i + 1][j + 1], grid[i][j + 1]);
            }
    }

    std::vector<Polyline> Lines()
    {
        std::vector<Polyline> lines;
        std::vector<char> used(pieces_.size());
        for (const bool open : {true, false}) // lines with ends first, then the closed ones
            for (const auto& [name, crossing] : crossings_)
            {
                const int piece = crossing.pieces[0];
                if (used[piece] || (open && crossing.pieces[1] >= 0))
                    continue;
                bool isReal = false;
                lines.push_back(Follow(name, piece, used, isReal));
                if (!isReal || lines.back().size() < 2)
                    lines.pop_back();
            }
        std::stable_sort(lines.begin(), lines.end(),
                         [](const Polyline& a, const Polyline& b) { return a.size() > b.size(); });
        return lines;
    }

private:
    bool IsWet(double psi) const { return psi > -zero_; }

    Corner At(std::size_t e, int i, int j, int n) const
    {
        const ElementType type = mesh_.type[e];
        const int* nodes = mesh_.ElementNodes(e);
        const int corners = Corners(type);
        const double u = double(i) / n, v = double(j) / n;
        double N[8];
        if (corners == 3)
            Shape_Function(N, u, v, PlaceFlags(type));
        else
            Shape_Function(N, 1 - 2 * u, 1 - 2 * v, PlaceFlags(type));
        Corner corner;
        for (int k = 0; k < NodeCount(type); ++k)
        {
            const double share = N[PlaceOf(type, k)];
            corner.at.x += share * mesh_.x[nodes[k]];
            corner.at.y += share * mesh_.y[nodes[k]];
            corner.psi += share * psi_[nodes[k]];
        }
        corner.name = {-1, std::int64_t(e), i * 8 + j};
        // sides in the order of the nodes, with the place along each
        const std::array<std::pair<bool, int>, 4> sides =
            corners == 3 ? std::array<std::pair<bool, int>, 4>{{{j == 0, i},
                                                                {i + j == n, j},
                                                                {i == 0, n - j},
                                                                {false, 0}}}
                         : std::array<std::pair<bool, int>, 4>{
                               {{j == 0, i}, {i == n, j}, {j == n, n - i}, {i == 0, n - j}}};
        for (int side = 0; side < corners; ++side)
            if (const auto [on, along] = sides[side]; on)
            {
                const int a = nodes[side], b = nodes[(side + 1) % corners];
                if (along == 0 || along == n)
                    corner.name = {-2, along == 0 ? a : b, 0};
                else
                    corner.name = {std::min(a, b), std::max(a, b), a < b ? along : n - along};
                break;
            }
        return corner;
    }

    /// The line through one triangle: from the side where it enters to the one where it leaves.
    void Cut(const Corner& a, const Corner& b, const Corner& c)
    {
        const Corner* corner[3] = {&a, &b, &c};
        CrossingName ends[2];
        int found = 0;
        for (int k = 0; k < 3; ++k)
        {
            const Corner& p = *corner[k];
            const Corner& q = *corner[(k + 1) % 3];
            if (IsWet(p.psi) == IsWet(q.psi))
                continue;
            const bool ascending = p.name < q.name;
            const Corner& first = ascending ? p : q;
            const Corner& last = ascending ? q : p;
            double t = first.psi / (first.psi - last.psi);
            t = std::clamp(t, 0.0, 1.0);
            ends[found++] = {first.name, last.name};
            crossings_[{first.name, last.name}].at = {first.at.x + t * (last.at.x - first.at.x),
                                                      first.at.y + t * (last.at.y - first.at.y)};
        }
        if (found != 2)
            return;
        for (const CrossingName& end : ends)
        {
            std::array<int, 2>& pieces = crossings_[end].pieces;
            pieces[pieces[0] < 0 ? 0 : 1] = int(pieces_.size());
        }
        pieces_.push_back({ends[0], ends[1], betweenNodes_});
    }

    /// @param isReal  set when the line separates wet nodes from dry ones somewhere: islands that
    /// an element's interpolation creates between nodes of one kind are not real
    Polyline Follow(CrossingName name, int piece, std::vector<char>& used, bool& isReal)
    {
        Polyline line;
        const auto add = [&](Point at) {
            if (line.empty() ||
                std::abs(at.x - line.back().x) + std::abs(at.y - line.back().y) > zero_)
                line.push_back(at);
        };
        add(crossings_[name].at);
        while (piece >= 0 && !used[piece])
        {
            used[piece] = 1;
            isReal = isReal || pieces_[piece].betweenNodes;
            name = pieces_[piece].first == name ? pieces_[piece].second : pieces_[piece].first;
            const Crossing& next = crossings_[name];
            add(next.at);
            piece = next.pieces[0] == piece ? next.pieces[1] : next.pieces[0];
        }
        if (line.front().x > line.back().x)
            std::reverse(line.begin(), line.end());
        return line;
    }

    const Mesh& mesh_;
    std::vector<double> psi_;
    double zero_ = 0; ///< pressure heads and distances below it are none [m]
    std::map<CrossingName, Crossing> crossings_;
    std::vector<Piece> pieces_;
    bool betweenNodes_ = false; ///< whether the present element has wet and dry nodes
};
} // namespace

std::vector<Polyline> ZeroPressureLines(const Mesh& mesh, const DataTable::Values& psi,
                                        const std::vector<int>& dry)
{
    Tracer tracer(mesh, {psi.begin(), psi.end()}, dry);
    for (std::size_t e = 0; e < mesh.Elements(); ++e)
        tracer.Element(e);
    return tracer.Lines();
}

} // namespace percova
