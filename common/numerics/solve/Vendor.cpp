#include "numerics/solve/Vendor.h"

#include "foundation/kvidbg.h"
#include "platform/platform_env.h"
#include "platform/platform_library.h"
#include "platform/platform_path.h"
#include "platform/platform_thread.h"

#include <type_traits>
#include <utility>

namespace numerics
{
namespace
{

using platform::LoadModule;
using platform::Module;
using platform::Symbol;
using platform::SymbolScope;

/// The vendor's version record.
struct Version
{
    int major, minor, update;
    const char *productStatus, *build, *processor, *platform;
};

/// One way in which MKL is installed. A processor-specific library must exist beside the core:
/// without it the vendor's code terminates the process at its first use.
struct Installation
{
    const wchar_t* runtimes[2]; ///< OpenMP, the first found; none when MKL finds it itself
    const wchar_t* before[2];   ///< loaded in this order before the entry
    const wchar_t* kernels;     ///< must be loadable, null when they are inside
    const wchar_t* entry;
};

constexpr Installation kInstallations[] = {
    {{}, {}, nullptr, L"libmkl_custom.so"},
    {{}, {}, nullptr, L"mkl_custom.dll"},
    {{}, {L"libmkl_core.so.2"}, L"libmkl_def.so.2", L"libmkl_rt.so.2"},
    {{}, {L"libmkl_core.so.1"}, L"libmkl_def.so.1", L"libmkl_rt.so.1"},
    {{}, {L"libmkl_core.so"}, L"libmkl_def.so", L"libmkl_rt.so"},
    {{}, {L"mkl_core.2.dll"}, L"mkl_def.2.dll", L"mkl_rt.2.dll"},
    {{}, {L"mkl_core.dll"}, L"mkl_def.dll", L"mkl_rt.dll"},
    {{L"libgomp.so.1"},
     {L"libmkl_core.so.2", L"libmkl_gnu_thread.so.2"},
     L"libmkl_def.so.2",
     L"libmkl_intel_lp64.so.2"},
    {{L"libgomp.so.1"},
     {L"libmkl_core.so", L"libmkl_gnu_thread.so"},
     L"libmkl_def.so",
     L"libmkl_intel_lp64.so"},
    {{L"libiomp5.so", L"libomp.so.5"},
     {L"libmkl_core.so", L"libmkl_intel_thread.so"},
     L"libmkl_def.so",
     L"libmkl_intel_lp64.so"},
};

// The vendor's numbers for the layers below its interface.
constexpr int kSequentialLayer = 1, kGnuLayer = 3, kLp64 = 0;

/// The functions of the loaded vendor library.
struct Entries
{
    PardisoFunction pardiso;
    BlasProduct<double> dgemm;
    BlasProduct<float> sgemm;
    int (*mostThreads)();
    void (*setThreads)(int);
};
Entries entries{};

/// Checks whether the vendor can start its threads. It terminates the process when it cannot, so it
/// is then limited to one.
void SecureThreads()
{
    thread_local int secured = 1;
    const int wanted = entries.mostThreads != nullptr ? entries.mostThreads() : 1;
    if (wanted <= secured)
        return;
    const auto others = static_cast<unsigned>(wanted - 1);
    if (platform::StartableThreads(others) == others)
        secured = wanted;
    else if (entries.setThreads != nullptr)
    {
        entries.setThreads(1);
        KVI_LOG(kvi::diag::warning, kvi::diag::kMathCategory,
                L"The system refuses threads; the vendor's solver runs with one.");
    }
}

void CallPardiso(void* pt, const int* maxfct, const int* mnum, const int* mtype, const int* phase,
                 const int* n, const void* a, const int* ia, const int* ja, int* perm,
                 const int* nrhs, int* iparm, const int* msglvl, void* b, void* x, int* error)
{
    SecureThreads();
    entries.pardiso(pt, maxfct, mnum, mtype, phase, n, a, ia, ja, perm, nrhs, iparm, msglvl, b, x,
                    error);
}

template <class T>
void CallProduct(int layout, int transA, int transB, int m, int n, int k, T alpha, const T* A,
                 int lda, const T* B, int ldb, T beta, T* C, int ldc)
{
    SecureThreads();
    if constexpr (std::is_same_v<T, double>)
        entries.dgemm(layout, transA, transB, m, n, k, alpha, A, lda, B, ldb, beta, C, ldc);
    else
        entries.sgemm(layout, transA, transB, m, n, k, alpha, A, lda, B, ldb, beta, C, ldc);
}

template <class F>
F Function(Module module, const char* name)
{
    return reinterpret_cast<F>(Symbol(module, name));
}

/// The dispatching library terminates the process when its threading library does not load, so the
/// available one is selected beforehand.
void ChooseLayers(Module module, const std::wstring& folder)
{
    const auto setThreading = Function<int (*)(int)>(module, "MKL_Set_Threading_Layer");
    const auto setInterface = Function<int (*)(int)>(module, "MKL_Set_Interface_Layer");
    if (setThreading == nullptr || setInterface == nullptr)
        return;
    setInterface(kLp64);
    for (const wchar_t* intel : {L"libiomp5.so", L"libiomp5md.dll"})
        if (LoadModule(intel, SymbolScope::shared) != nullptr)
            return; // the layer taken by default
    const bool hasGnu =
        LoadModule(L"libgomp.so.1", SymbolScope::shared) != nullptr &&
        LoadModule(folder + L"libmkl_gnu_thread.so", SymbolScope::shared) != nullptr;
    setThreading(hasGnu ? kGnuLayer : kSequentialLayer);
}

bool LoadBefore(const Installation& installation, const std::wstring& folder)
{
    bool hasRuntime = installation.runtimes[0] == nullptr;
    for (const wchar_t* runtime : installation.runtimes)
        if (!hasRuntime && runtime != nullptr)
            hasRuntime = LoadModule(runtime, SymbolScope::shared) != nullptr;
    if (!hasRuntime)
        return false;
    for (const wchar_t* library : installation.before)
        if (library != nullptr && LoadModule(folder + library, SymbolScope::shared) == nullptr)
            return false;
    if (installation.kernels == nullptr)
        return true;
    Module const kernels = LoadModule(folder + installation.kernels, SymbolScope::own);
    if (kernels != nullptr)
        platform::UnloadModule(kernels);
    return kernels != nullptr;
}

/// Another vendor exports a function of the same name, with other arguments; only MKL has the
/// version beside it.
std::optional<Vendor> Take(Module module, const std::wstring& folder)
{
    const auto getVersion = Function<void (*)(Version*)>(module, "MKL_Get_Version");
    Vendor vendor;
    const Entries found = {Function<PardisoFunction>(module, "pardiso"),
                           Function<BlasProduct<double>>(module, "cblas_dgemm"),
                           Function<BlasProduct<float>>(module, "cblas_sgemm"),
                           Function<int (*)()>(module, "MKL_Get_Max_Threads"),
                           Function<void (*)(int)>(module, "MKL_Set_Num_Threads")};
    if (getVersion == nullptr || found.pardiso == nullptr)
        return std::nullopt;
    entries = found;
    vendor.solver.pardiso = &CallPardiso;
    vendor.dgemm = found.dgemm != nullptr ? &CallProduct<double> : nullptr;
    vendor.sgemm = found.sgemm != nullptr ? &CallProduct<float> : nullptr;
    ChooseLayers(module, folder);
    if (const auto setVerbose = Function<int (*)(int)>(module, "MKL_Verbose"))
        setVerbose(0);
    Version version{};
    getVersion(&version);
    vendor.solver.setThreads = found.setThreads;
    vendor.solver.freeBuffers = Function<void (*)()>(module, "MKL_Free_Buffers");
    vendor.solver.name =
        L"mkl " + std::to_wstring(version.major) + L"." + std::to_wstring(version.update);
    return vendor;
}

} // namespace

std::optional<Vendor> LoadVendor(const std::wstring& folder)
{
    const std::wstring prefix = folder.empty() ? folder : folder + L"/";
    for (const Installation& installation : kInstallations)
    {
        if (!LoadBefore(installation, prefix))
            continue;
        Module const module = LoadModule(prefix + installation.entry, SymbolScope::shared);
        if (module == nullptr)
            continue;
        if (auto vendor = Take(module, prefix))
            return vendor;
        platform::UnloadModule(module);
    }
    return std::nullopt;
}

const std::optional<Vendor>& FoundVendor()
{
    static const std::optional<Vendor> found = []() -> std::optional<Vendor> {
        const std::wstring wish = platform::TrustedEnvironment(L"KVI_MKL").value_or(L"");
        if (wish == L"off")
            return std::nullopt;
        const platform::PathRoot root = platform::RootOf(wish);
        const bool absolute = root.fixed && (root.whole || !platform::NamesIgnoreCase());
        if (!wish.empty() && !absolute)
        {
            KVI_LOG(kvi::diag::warning, kvi::diag::kMathCategory,
                    L"KVI_MKL is no absolute path, so the vendor's solver is not loaded: " + wish);
            return std::nullopt;
        }
        return LoadVendor(wish);
    }();
    return found;
}

} // namespace numerics
