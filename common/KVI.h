/// @file
/// Every public header of the library.
#pragma once

#include "Geom/FPOINT.h"
#include "Geom/Geom_Cell.h"
#include "Geom/Geom_CellTable.h"
#include "Geom/Geom_Circle2D.h"
#include "Geom/Geom_Extents2D.h"
#include "Geom/Geom_Line2D.h"
#include "Geom/Geom_LineEvent.h"
#include "Geom/Geom_LineEvents2D.h"
#include "Geom/Geom_LineIntersection2D.h"
#include "Geom/Geom_LineLayer2D.h"
#include "Geom/Geom_LineMeetings2D.h"
#include "Geom/Geom_MeshEdges2D.h"
#include "Geom/Geom_Point.h"
#include "Geom/Geom_Polygon.h"
#include "Geom/Geom_Polyline.h"
#include "Geom/Geom_Precision.h"
#include "Geom/Geom_QuadTree2D.h"
#include "Geom/Geom_Region.h"
#include "Geom/Geom_Vector.h"
#include "Geom/gtl_engless_point.h"
#include "data/DataParamCalculator.h"
#include "data/DataParamType.h"
#include "data/DataTable.h"
#include "data/dataparam_alias.h"
#include "data/datatable_Properties.h"
#include "data/datatable_calculators.h"
#include "data/datatable_cells.h"
#include "data/datatable_copy.h"
#include "data/datatable_eval.h"
#include "data/datatable_inspect.h"
#include "data/kvi_gid.h"
#include "doc/Step.h"
#include "doc/doc_file.h"
#include "doc/doc_file_Name.h"
#include "doc/doc_file_mark.h"
#include "fn/math_UnitSet.h"
#include "fn/math_fn_QuadraticEqn.h"
#include "fn/math_fn_flow_FredXing.h"
#include "foundation/AnalysisKind.h"
#include "foundation/App.h"
#include "foundation/BufLine.h"
#include "foundation/CountedObjPtr.h"
#include "foundation/KVISysMsg.h"
#include "foundation/KviError.h"
#include "foundation/MissingValue.h"
#include "foundation/StrClear.h"
#include "foundation/StripBlank.h"
#include "foundation/gtl_Convert_error_status.h"
#include "foundation/gtl_fixed_vector.h"
#include "foundation/gtl_impl_is_valid_from.h"
#include "foundation/gtl_iterator_range.h"
#include "foundation/gtl_range.h"
#include "foundation/gtl_range_error.h"
#include "foundation/gtl_status.h"
#include "foundation/gtl_status_exception.h"
#include "foundation/kvi_export.h"
#include "foundation/kvi_feature.h"
#include "foundation/kvi_version.h"
#include "foundation/kvidbg.h"
#include "foundation/kvidbg_Category.h"
#include "foundation/kvidbg_EventSink.h"
#include "foundation/kvidbg_LogFilter.h"
#include "foundation/math_algorithm_Tolerance.h"
#include "foundation/math_impl_ConvertFloat.h"
#include "foundation/math_impl_ConvertInt.h"
#include "foundation/math_strided_iterator.h"
#include "foundation/str.h"
#include "foundation/str_fmt.h"
#include "foundation/str_fmt_Argument.h"
#include "foundation/str_fmt_float_cstring.h"
#include "foundation/str_load_wstring.h"
#include "foundation/str_locale.h"
#include "foundation/str_u8string.h"
#include "numerics/CLPProblem.h"
#include "numerics/GaussRule.h"
#include "numerics/ISysEqnImpl.h"
#include "numerics/Inverse.h"
#include "numerics/MpM.h"
#include "numerics/MxC.h"
#include "numerics/MxM.h"
#include "numerics/Shape.h"
#include "numerics/SolveRecord.h"
#include "numerics/math_SparseSolver.h"
#include "numerics/math_fpu_Exception.h"
#include "numerics/math_matrix.h"
#include "numerics/math_matrix_Dispatch.h"
#include "numerics/math_matrix_Multiply.h"
#include "numerics/math_matrix_storage.h"
#include "numerics/tagRecords.h"
#include "sys/SharedResource.h"
#include "sys/sys_file.h"
#include "sys/sys_file_FilePath.h"
#include "sys/sys_file_Finder.h"
#include "sys/sys_file_InputStream.h"
#include "sys/sys_file_SafeWriter.h"
#include "sys/sys_file_SplitPath.h"
#include "sys/sys_file_Time.h"
#include "sys/sys_file_ValidName.h"
#include "sys/sys_reg_Registry.h"
#include "sys/sys_reg_RegistryMirror.h"
#include "sys/sys_reg_RegistryPath.h"
#include "sys/sys_reg_ScanTarget.h"
#include "sys/sys_thread_CallOnce.h"
#include "sys/sys_thread_ExclusiveAccess.h"
#include "sys/sys_thread_Handle.h"
#include "sys/sys_thread_ParallelFor.h"
#include "sys/sys_thread_QueueBounded.h"
#include "sys/sys_thread_Semaphore.h"
#include "sys/sys_thread_Signal.h"
#include "sys/sys_thread_Worker.h"
#include "sys/sys_thread_affinity.h"
#include "sys/sys_thread_task.h"

/// @namespace gtl
/// Status of a call, the records of its errors, and small general types.

/// @namespace kvi::diag
/// The diagnostics log: levels, categories and the places that records go to.

/// @namespace str
/// Text: conversion between wide and narrow, searching, splitting, numbers as text.

/// @namespace str::fmt
/// Text from a format and arguments of any type.

/// @namespace str::locale
/// The separators of a language, and which language holds where.

/// @namespace math
/// Numbers, small matrices, sparse systems of equations, linear programs.

/// @namespace math::algorithm
/// Comparison of numbers with a tolerance.

/// @namespace math::fn
/// Closed-form functions: quadratic equations, curves of soils.

/// @namespace math::fn::flow
/// Curves of unsaturated soils and their units.

/// @namespace math::fpu
/// Floating-point exceptions of a thread.

/// @namespace math::matrix
/// Small dense matrices of fixed size and of a size known at run time.

/// @namespace Geom
/// Plane geometry with a tolerance: primitives, polygons, crossings of many lines, spatial indexes.

/// @namespace sys::file
/// Files, folders and paths, alike on all systems.

/// @namespace sys::reg
/// Settings that outlive the process.

/// @namespace sys::thread
/// Workers, queues, locks and signals, among processes too.

/// @namespace sys::thread::task
/// Loops and tasks on the pool of threads.

/// @namespace doc::file
/// Names of a document's result files, and where these are.

/// @namespace polymorphic
/// Copies that share nothing with the original.
