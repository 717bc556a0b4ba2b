// Runs one of this program's DISABLED_ tests in a separate process.
#pragma once

#include "foundation/App.h"
#include "foundation/str_fmt.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <string>
#include <string_view>

#if defined(_WIN32)
// Declared here: windows.h defines macros (Yield) that rename members of the library.
extern "C" __declspec(dllimport) void* __stdcall GetCurrentProcess();
extern "C" __declspec(dllimport) int __stdcall TerminateProcess(void* process, unsigned code);
#endif

namespace child
{

inline bool IsWindows() { return App::Instance().ProgramPath()[2] == L'\\'; }

/// Waits for `suite.DISABLED_role` with @p number (below 99999) for its Number().
/// @param prefix, tail  text before and after the command
/// @returns whether it passed
inline bool Run(const std::string& suite, const std::string& role, int number = 0,
                const std::string& prefix = "", const std::string& tail = "")
{
    const std::string command =
        prefix +
        str::sprintf("\"%s\" --gtest_also_run_disabled_tests --gtest_filter=%s.DISABLED_%s "
                     "--gtest_random_seed=%d --gtest_brief=1 %s",
                     App::Instance().ProgramPath(), suite, role, number, tail);
    return std::system((IsWindows() ? '"' + command + '"' : command).c_str()) == 0;
}

/// @p name made unique to this build, since others may be tested on the machine concurrently.
inline std::wstring Name(const std::wstring& name)
{
    return name + L' ' + std::to_wstring(std::hash<std::string_view>()(KVI_TEST_TEMP));
}

/// What the parent gave this process.
inline int Number() { return GTEST_FLAG_GET(random_seed); }

/// Ends this process from any thread as a kill does. Windows's _Exit unloads the libraries after it
/// has ended the other threads, and waits for ever for a lock that one of these held.
[[noreturn]] inline void Die()
{
#if defined(_WIN32)
    ::TerminateProcess(::GetCurrentProcess(), 9);
#endif
    std::_Exit(9);
}

} // namespace child
