/// @file
/// Programs and libraries as the system loads them.
#pragma once

#include <string>

namespace platform
{

/// A loaded program or library: a module handle on Windows, elsewhere one of the dynamic linker.
using Module = void*;

/// Visibility of a loaded library's symbols.
enum class SymbolScope
{
    own,   ///< only lookups through the module
    shared ///< also libraries loaded later; the same as own on Windows, where imports name theirs
};

/// Loads the library @p path. A name without a folder is searched in the folders of the program and
/// of the system, never in the current one: on Windows beside the program, in System32 and where
/// the host has called AddDllDirectory; elsewhere in the dynamic linker's search path. Empty or
/// relative items of that path are ignored; the linker's cache is then not used either.
/// @param[out] error  written on failure when not null: the system's reason
/// @returns null on failure
Module LoadModule(const std::wstring& path, SymbolScope scope, std::wstring* error = nullptr);

/// Undoes one LoadModule; the code stays loaded while other references exist.
void UnloadModule(Module module);

/// The full path of @p module's file; null is the process's own program. Empty when unknown.
std::wstring ModulePath(Module module);

/// The same for the module that contains the function or object at @p address.
std::wstring ModulePathAt(const void* address);

/// Address of the function or object @p name; null when @p module does not export it.
void* Symbol(Module module, const char* name);

} // namespace platform
