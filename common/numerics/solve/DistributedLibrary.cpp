#include "numerics/solve/DistributedLibrary.h"

#include "foundation/kvidbg.h"
#include "foundation/str.h"
#include "platform/platform_env.h"
#include "platform/platform_library.h"
#include "platform/platform_path.h"

#include <string>

namespace numerics
{
namespace
{

constexpr const wchar_t* kFile = L"libKVI_mumps.so";

bool IsAbsolute(const std::wstring& path)
{
    const platform::PathRoot root = platform::RootOf(path);
    return root.fixed && (root.whole || !platform::NamesIgnoreCase());
}

/// The folder of the file that holds this code, with its last separator; empty when unknown.
std::wstring OwnFolder()
{
    static const char here = 0;
    const std::wstring path = platform::ModulePathAt(&here);
    return IsAbsolute(path) ? path.substr(0, path.find_last_of(L"/\\") + 1) : L"";
}

platform::Module Load(const std::wstring& wish, std::wstring& reason)
{
    using platform::SymbolScope;
    if (!wish.empty())
        return platform::LoadModule(wish + L"/" + kFile, SymbolScope::own, &reason);
    if (const std::wstring folder = OwnFolder(); !folder.empty())
        if (const auto module = platform::LoadModule(folder + kFile, SymbolScope::own))
            return module;
    return platform::LoadModule(kFile, SymbolScope::own, &reason);
}

/// @param[out] reason  why nothing is returned
std::optional<PardisoFunctions> Find(std::wstring& reason)
{
    // MPI reads variables of its own that choose libraries and files.
    const std::optional<std::wstring> solver = platform::TrustedEnvironment(L"KVI_SOLVER");
    const std::wstring wish = platform::TrustedEnvironment(L"KVI_MUMPS").value_or(L"");
    if (!solver)
        reason = L"this program runs with more rights than its caller";
    else if (!wish.empty() && !IsAbsolute(wish))
        reason = L"KVI_MUMPS is no absolute path: " + wish;
    if (!reason.empty())
        return std::nullopt;
    platform::Module const module = Load(wish, reason);
    if (module == nullptr)
    {
        reason.erase(reason.find_last_not_of(L"\r\n") + 1); // Windows ends its texts so
        reason = L"libKVI_mumps, a part of the library for Linux, cannot be loaded: " + reason;
        return std::nullopt;
    }
    const auto entry =
        reinterpret_cast<DistributedEntry>(platform::Symbol(module, kDistributedEntry));
    const DistributedFunctions* const functions = entry != nullptr ? entry() : nullptr;
    if (functions == nullptr || functions->version != kDistributedVersion)
    {
        reason = L"libKVI_mumps belongs to another version of the library";
        return std::nullopt;
    }
    int processes = 0;
    DistributedReport report;
    if (functions->connect(&processes, &report) != kDistributedDone)
    {
        reason = str::as_wstring(report.text);
        return std::nullopt;
    }
    PardisoFunctions found;
    found.distributed = functions;
    found.name = str::as_wstring(functions->name) + L", " + std::to_wstring(processes) +
                 (processes == 1 ? L" process" : L" processes");
    return found;
}

} // namespace

const std::optional<PardisoFunctions>& FoundDistributed()
{
    static const std::optional<PardisoFunctions> found = [] {
        std::wstring reason;
        std::optional<PardisoFunctions> functions = Find(reason);
        if (!functions)
            KVI_LOG(kvi::diag::warning, kvi::diag::kMathCategory,
                    L"KVI_SOLVER=mumps: the library's own solver runs instead; %s", reason);
        return functions;
    }();
    return found;
}

} // namespace numerics
