/// @file
/// Every public header of the library.
#pragma once

#include "foundation/MissingValue.h"
#include "foundation/kvi_export.h"

#include "Geom/FPOINT.h"
#include "Geom/Geom_Extents2D.h"

#include "numerics/SolveRecord.h"
