/// @file
/// Clearing of a byte buffer that holds a zero-terminated text.
#pragma once

#include "foundation/kvi_export.h"

/// Makes @p buffer the empty text: fills @p size bytes with blanks when size > 0, then sets byte 0
/// and byte size - 1 to 0. Both are set for every size, so with size 0 the byte before @p buffer is
/// written as well; the caller owns it.
KVI_API void StrClear(char* buffer, int size);
