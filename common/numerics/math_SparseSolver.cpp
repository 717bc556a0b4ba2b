#include "numerics/math_SparseSolver.h"

#include "numerics/numerics_Pardiso.h"
#include "numerics/numerics_Vendor.h"

#include <atomic>

namespace math::impl
{
namespace
{

std::atomic<const PardisoFunctions*> replacement = nullptr;

} // namespace

const PardisoFunctions& ActivePardiso()
{
    if (const PardisoFunctions* functions = replacement.load())
        return *functions;
    return FoundVendor() ? FoundVendor()->solver : BuiltInPardiso();
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
