/// @file
/// Programs and libraries as the system loads them.
#pragma once

#include <string>

namespace platform
{

/// A loaded program or library: a module handle on Windows, elsewhere one of the dynamic linker.
using Module = void*;

/// Whom the symbols of a loaded library serve.
enum class SymbolScope
{
    own,   ///< only those who ask the module for them
    shared ///< also libraries loaded later; the same as own on Windows, where imports name theirs
};

/// Loads the library @p path. A name without a folder is looked for in the folders of the program
/// and of the system, never in the current one: on Windows beside the program, in System32 and
/// where the host has called AddDllDirectory; elsewhere where the dynamic linker looks. A search
/// path of the linker with an empty or relative item counts without it, and then without the
/// linker's cache.
/// @param[out] error  written on failure when not null: the system's reason
/// @returns null on failure
Module LoadModule(const std::wstring& path, SymbolScope scope, std::wstring* error = nullptr);

/// Gives up one LoadModule; the code stays while anyone else has it loaded.
void UnloadModule(Module module);

/// The full path of @p module's file; null is the process's own program. Empty when unknown.
std::wstring ModulePath(Module module);

/// Address of the function or object @p name; null when @p module does not export it.
void* Symbol(Module module, const char* name);

} // namespace platform
