#include "Geom/FPOINT.h"

#include "foundation/math_algorithm_Tolerance.h"

#include <algorithm>
#include <iterator>

int FPOINT::UndoEquality(const FPOINT& other) const
{
    return this == &other || *this == other ? 1 : 0;
}

FPOINT& FPOINT::UndoAssignment(const FPOINT& other)
{
    if (this != &other)
        *this = other;
    return *this;
}

int FPOINT::UndoFreeMemory() { return 0; }

bool operator==(const FPOINT& a, const FPOINT& b) { return a.x == b.x && a.y == b.y && a.z == b.z; }

bool operator<(const FPOINT& a, const FPOINT& b) { return a.x != b.x ? a.x < b.x : a.y < b.y; }

bool gtl::equalX<FPOINT>::operator()(const FPOINT& a, const FPOINT& b) const
{
    const double coordinates[] = {a.z, a.x, a.y, b.z, b.x, b.y};
    if (std::any_of(std::begin(coordinates), std::end(coordinates), IsMissingValue))
        return false;
    return math::algorithm::Tolerance<double>(8, 5e-8).Equal(a.x, b.x);
}
