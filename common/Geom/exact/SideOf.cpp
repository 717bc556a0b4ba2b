#include "Geom/exact/Expansion.h"

namespace geom
{
namespace
{

int ExactSideOf(const Point2D& a, const Point2D& b, const Point2D& p, double hx, double hy)
{
    const Pair dx = ExactDifference(b.x, a.x), dy = ExactDifference(b.y, a.y);
    const Pair qx = ExactDifference(p.x, a.x), qy = ExactDifference(p.y, a.y);
    ExactSum cross;
    cross.AddProduct(dx, qy);
    cross.AddProduct(-dy, qx);
    const int side = cross.Sign();

    // The excess of |cross| over the tolerance.
    ExactSum excess;
    excess.AddProduct(side < 0 ? -dx : dx, qy);
    excess.AddProduct(side < 0 ? dy : -dy, qx);
    for (const auto& [half, d] : {std::pair{hx, dy}, std::pair{hy, dx}})
        for (const double part : {d.low, d.high})
        {
            const Pair product = ExactProduct(d.high < 0 ? half : -half, part);
            excess.Add(product.low);
            excess.Add(product.high);
        }
    return excess.Sign() > 0 ? side : 0;
}

} // namespace

int SideOf(const Point2D& a, const Point2D& b, const Point2D& p, double hx, double hy)
{
    const double dx = b.x - a.x, dy = b.y - a.y;
    const double left = dx * (p.y - a.y), right = dy * (p.x - a.x);
    const double cross = left - right;
    const double tolerance = hx * std::fabs(dy) + hy * std::fabs(dx);
    // Each term has at most eight roundings; 16 units in the last place are safe. The constant
    // covers products that underflow.
    const double error =
        (std::fabs(left) + std::fabs(right) + tolerance) * 0x1p-49 + kUnderflowError;
    if (cross - tolerance > error)
        return 1;
    if (cross + tolerance < -error)
        return -1;
    if (std::fabs(cross) < tolerance - error)
        return 0;
    if (!(std::isfinite(a.x) && std::isfinite(a.y) && std::isfinite(b.x) && std::isfinite(b.y) &&
          std::isfinite(p.x) && std::isfinite(p.y)) ||
        !(hx >= 0 && hy >= 0))
        return kNoSide;
    if (std::isinf(hx) || std::isinf(hy))
        return 0;
    const double factor = ExactFactor({a, b, p, {hx, hy}});
    return ExactSideOf(a * factor, b * factor, p * factor, hx * factor, hy * factor);
}

} // namespace geom
