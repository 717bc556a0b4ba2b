/// @file
/// Any text as a file name, and back.
#pragma once

#include "foundation/kvi_export.h"

#include <string>

namespace sys::file
{

/// A file name that stands for @p s: the characters " & * / : < > ? \ | become "&0" to "&9", a
/// blank at the end becomes "&_", and a name that is a device ("CON", in any case) gets "&" in
/// front. The extension is not examined: "CON.txt" stays as it is.
KVI_API std::wstring StringToValidFileName(const std::wstring& s);
/// The text that StringToValidFileName made @p s from.
KVI_API std::wstring ValidFileNameToString(const std::wstring& s);

/// Whether Windows may take @p name, whatever its ending, for a device: the names that
/// StringToValidFileName marks, "CONIN$", "CONOUT$", and COM and LPT with a superscript digit.
KVI_API bool IsDeviceName(const std::wstring& name);

/// @p s with each character that is number k of @p set written as "&" and the character '0' + k.
/// To be undone, the set must hold "&" and at most ten characters.
/// @param set  in ascending order
KVI_API std::wstring StringToValidEscapedName(const std::wstring& s, const std::wstring& set);
/// The inverse: "&" and a digit is that character of @p set or, past its end, nothing; "&_" is a
/// blank; "&" and another character is this character; "&" at the end is nothing.
KVI_API std::wstring ValidEscapedNameToString(const std::wstring& s, const std::wstring& set);

} // namespace sys::file
