#include "Geom/LineOracle.h"
#include "fuzz/FuzzInput.h"

#include <algorithm>

namespace fuzz
{
using namespace Geom;

/// One of the finders on up to 200 lines, of which some may be copies of others, moved.
std::string CheckLines(const std::uint8_t* data, std::size_t size)
{
    const Precision3D before = Precision();
    Input input(data, size);
    input.TakeFrame();
    const int form = input.Byte(), copies = form >> 3 & 7;
    const Point2D origin = input.Point(), shift = input.Point();
    LineSet2D lines;
    while (!input.IsEmpty() && lines.size() < std::min<std::size_t>(40, 200 / (copies + 1)))
    {
        const Point2D first = input.Point();
        const Line2D line = {first, input.Point()};
        lines.push_back(form & 4 ? line : LineGet2D(line.first, line.second));
    }
    const std::size_t n = lines.size();
    for (int copy = 1; copy <= copies; ++copy)
        for (std::size_t i = 0; i < n; ++i)
        {
            const double dx = (shift.x - origin.x) * copy, dy = (shift.y - origin.y) * copy;
            const auto& [a, b] = lines[i];
            lines.push_back({{a.x + dx, a.y + dy}, {b.x + dx, b.y + dy}});
        }
    const std::string wrong = oracle::WrongWith(oracle::kFinders[form & 3], lines);
    SetCompPrecision(before);
    return wrong;
}

} // namespace fuzz
