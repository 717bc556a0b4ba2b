#include "numerics/math_SparseSolver.h"

#include "numerics/numerics_Pardiso.h"
#include "numerics/numerics_PardisoVendor.h"
#include "platform/platform_env.h"

#include <atomic>

namespace math::impl
{
namespace
{

std::atomic<const PardisoFunctions*> replacement = nullptr;

/// KVI_MKL: "off" for the built-in counterpart, a folder to look in, or unset for the usual places.
PardisoFunctions Find()
{
    const std::wstring wish = platform::Environment(L"KVI_MKL").value_or(L"");
    if (wish == L"off")
        return BuiltInPardiso();
    return LoadVendorPardiso(wish).value_or(BuiltInPardiso());
}

} // namespace

const PardisoFunctions& ActivePardiso()
{
    if (const PardisoFunctions* functions = replacement.load())
        return *functions;
    static const PardisoFunctions found = Find();
    return found;
}

void ReplacePardiso(const PardisoFunctions* functions) { replacement = functions; }

} // namespace math::impl

namespace math
{

std::wstring SparseSolverName() { return L"pardiso (" + impl::ActivePardiso().name + L")"; }

void SetSparseSolverThreads(int threads)
{
    if (const auto set = impl::ActivePardiso().setThreads)
        set(threads > 0 ? threads : 1);
}

void FreeSparseSolverMemory()
{
    if (const auto freeBuffers = impl::ActivePardiso().freeBuffers)
        freeBuffers();
}

} // namespace math
