#include "numerics/GaussRule.h"

#include <array>
#include <cstddef>

namespace math
{
namespace
{

template <std::size_t N>
using Rule = std::array<GaussPoint, N>;

constexpr Rule<1> kLine1 = {{{0, 0, 2}}};
constexpr Rule<2> kLine2 = {{{-0.577350269189625765, 0, 1}, {0.577350269189625765, 0, 1}}};
constexpr Rule<3> kLine3 = {{{-0.774596669241483377, 0, 0.555555555555555556},
                             {0, 0, 0.888888888888888889},
                             {0.774596669241483377, 0, 0.555555555555555556}}};
constexpr Rule<4> kLine4 = {{{-0.861136311594052575, 0, 0.347854845137453857},
                             {-0.339981043584856265, 0, 0.652145154862546143},
                             {0.339981043584856265, 0, 0.652145154862546143},
                             {0.861136311594052575, 0, 0.347854845137453857}}};
constexpr Rule<5> kLine5 = {{{-0.906179845938663993, 0, 0.236926885056189088},
                             {-0.538469310105683091, 0, 0.478628670499366468},
                             {0, 0, 0.568888888888888889},
                             {0.538469310105683091, 0, 0.478628670499366468},
                             {0.906179845938663993, 0, 0.236926885056189088}}};

template <std::size_t N>
constexpr Rule<N * N> Squared(const Rule<N>& line)
{
    Rule<N * N> square{};
    for (std::size_t k = 0; k < N * N; ++k)
        square[k] = {line[k % N].r, line[k / N].r, line[k % N].weight * line[k / N].weight};
    return square;
}

constexpr auto kSquare1 = Squared(kLine1);
constexpr auto kSquare2 = Squared(kLine2);
constexpr auto kSquare3 = Squared(kLine3);
constexpr auto kSquare4 = Squared(kLine4);
constexpr auto kSquare5 = Squared(kLine5);

/// The symmetry orbit of a point of a triangle: 1, 3 or 6 points.
struct Orbit
{
    int count;
    double weight; ///< of each, for a triangle of area 1
    double r, s;   ///< of 3: (r, r), (1 - 2r, r), (r, 1 - 2r)
};

template <std::size_t N, std::size_t Orbits>
constexpr Rule<N> Symmetric(const Orbit (&orbits)[Orbits])
{
    Rule<N> rule{};
    std::size_t next = 0;
    const auto add = [&](double r, double s, double weight) { rule[next++] = {r, s, weight / 2}; };
    for (const auto& [count, weight, r, s] : orbits)
    {
        const double t = count == 6 ? 1 - r - s : 1 - 2 * r;
        add(r, count == 6 ? s : r, weight);
        if (count == 1)
            continue;
        add(t, r, weight);
        add(count == 6 ? s : r, t, weight);
        if (count == 6)
        {
            add(s, r, weight);
            add(r, t, weight);
            add(t, s, weight);
        }
    }
    return rule;
}

constexpr auto kTriangle1 = Symmetric<1>({{1, 1, 1.0 / 3, 1.0 / 3}});
constexpr auto kTriangle2 = Symmetric<3>({{3, 1.0 / 3, 1.0 / 6, 0}});
constexpr auto kTriangle4 = Symmetric<6>({{3, 0.223381589678011466, 0.445948490915964886, 0},
                                          {3, 0.109951743655321868, 0.0915762135097707435, 0}});
constexpr auto kTriangle5 = Symmetric<7>({{1, 0.225, 1.0 / 3, 1.0 / 3},
                                          {3, 0.132394152788506181, 0.47014206410511509, 0},
                                          {3, 0.125939180544827153, 0.101286507323456339, 0}});
constexpr auto kTriangle6 =
    Symmetric<12>({{3, 0.116786275726379366, 0.249286745170910421, 0},
                   {3, 0.0508449063702068169, 0.0630890144915022283, 0},
                   {6, 0.0828510756183735752, 0.0531450498448169474, 0.310352451033784405}});
constexpr auto kTriangle8 =
    Symmetric<16>({{1, 0.144315607677787168, 1.0 / 3, 1.0 / 3},
                   {3, 0.0950916342672846248, 0.459292588292723156, 0},
                   {3, 0.10321737053471825, 0.170569307751760207, 0},
                   {3, 0.0324584976231980803, 0.0505472283170309755, 0},
                   {6, 0.0272303141744349943, 0.00839477740995760534, 0.263112829634638113}});

using Points = std::span<const GaussPoint>;

} // namespace

std::span<const GaussPoint> GaussRule(ElementShape shape, int degree)
{
    static constexpr Points kLines[] = {kLine1, kLine2, kLine3, kLine4, kLine5};
    static constexpr Points kSquares[] = {kSquare1, kSquare2, kSquare3, kSquare4, kSquare5};
    static constexpr Points kTriangles[] = {kTriangle1, kTriangle1, kTriangle2,
                                            kTriangle4, kTriangle4, kTriangle5,
                                            kTriangle6, kTriangle8, kTriangle8};
    const auto at = static_cast<std::size_t>(degree);
    if (degree < 0)
        return {};
    switch (shape)
    {
    case ElementShape::Line:
        return at / 2 < std::size(kLines) ? kLines[at / 2] : Points();
    case ElementShape::Triangle:
        return at < std::size(kTriangles) ? kTriangles[at] : Points();
    case ElementShape::Quadrilateral:
        return at / 2 < std::size(kSquares) ? kSquares[at / 2] : Points();
    }
    return {};
}

} // namespace math
