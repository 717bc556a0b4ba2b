/// @file
/// Removing blanks and quotes at the ends of a zero-terminated byte text in place. A blank is a
/// space or a tab. No routine writes past the terminating zero.
#pragma once

#include "foundation/kvi_export.h"

/// Moves the text to the front over its leading blanks. A text of blanks only stays as it is.
KVI_API void StripLdBlank(char* buffer);

/// Ends the text after its last character that is not a blank.
/// @returns the position of that character; -1 when there is none, and the text is empty then
KVI_API int StripTrBlank(char* buffer);

/// Removes the blanks around a file name, then one double quote at each end where present: ` "C:\a
/// b.txt" ` becomes `C:\a b.txt`. Quotes inside stay, and so do blanks inside the quotes.
KVI_API void StripFileNameQuotes(char* buffer);
