/// @file
/// The operating system's texts for its error numbers.
#pragma once

#include "foundation/kvi_export.h"

#include <string>

/// The system's text for error @p number, as the system gives it (Windows ends it with a line
/// break); where it has none, the application's text of code 27505 with the number.
KVI_API std::wstring KVISysMsg(unsigned long number);
