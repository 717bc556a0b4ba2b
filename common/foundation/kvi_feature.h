/// @file
/// Switches set by environment variables.
#pragma once

#include "foundation/kvi_export.h"

#include <string>

namespace kvi::feature
{

/// The value of STRATIVO_DIAG_MODE or, when that is empty, of KVI_DIAG. Read at each call.
KVI_API std::wstring DiagnosticMode();

/// Whether either variable is set, even if empty.
KVI_API bool IsDiagnosticMode();

/// Whether KVI_FPUTRAP is set to anything but the empty text and "0".
KVI_API bool IsDiagnosticFpuTrapsEnabled();

} // namespace kvi::feature
