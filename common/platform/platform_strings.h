/// @file
/// Message texts that a program or a library carries.
#pragma once

#include "platform/platform_library.h"

#include <string_view>

namespace platform
{

/// The longest text returned, in characters; longer ones are truncated.
constexpr unsigned kTextLimit = 2047;

/// Finds the texts of @p module; null is the process's own program.
/// Windows: its string-table resources. Elsewhere: the table that it exports as
/// `kvi_string_table` (a row count, then the address of rows sorted by code).
/// @returns a handle for StringTableText; null when there are none
const void* FindStringTable(Module module);

/// The same for the module that contains the function or object at @p address.
const void* FindStringTableAt(const void* address);

/// The text with @p code, as it stands in the module; empty when @p table is null or lacks it.
std::wstring_view StringTableText(const void* table, unsigned code);

} // namespace platform
