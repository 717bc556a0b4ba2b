#include "Geom/FPOINT.h"

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
