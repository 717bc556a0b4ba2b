/// @file
/// Helpers shared by the sources of sys::reg.
#pragma once

#include "foundation/gtl_status.h"
#include "platform/platform_registry.h"

#include <string>
#include <string_view>

namespace sys::reg
{

/// Order of names, and reporting of damage.
const platform::RegistryHost& Host();

/// The bytes of @p text as a value: UTF-16 and a zero.
std::string TextBytes(std::wstring_view text);
/// The text of a value up to its zero, or to its end when it has none.
std::wstring TextOf(std::string_view bytes);
/// The number of a value of 4 bytes; 0 for any other.
int NumberOf(std::string_view bytes);
/// The 4 bytes of @p value.
std::string NumberBytes(int value);

/// Ok for 0; an error of the system with the name of its call.
gtl::status Failure(unsigned long error, std::wstring_view call);

} // namespace sys::reg
