/// @file
/// Every public header of the library.
#pragma once

#include "foundation/MissingValue.h"
#include "foundation/gtl_impl_is_valid_from.h"
#include "foundation/kvi_export.h"
#include "foundation/math_algorithm_Tolerance.h"
#include "foundation/math_impl_ConvertInt.h"
#include "foundation/str_fmt_float_cstring.h"

#include "Geom/FPOINT.h"
#include "Geom/Geom_Extents2D.h"

#include "numerics/ISysEqnImpl.h"
#include "numerics/Inverse.h"
#include "numerics/MpM.h"
#include "numerics/MxC.h"
#include "numerics/MxM.h"
#include "numerics/Shape.h"
#include "numerics/SolveRecord.h"
#include "numerics/tagRecords.h"

#include "fn/math_UnitSet.h"
#include "fn/math_fn_QuadraticEqn.h"
#include "fn/math_fn_flow_FredXing.h"
