#include "numerics/math_SparseSolver.h"

#include "numerics/solve/DistributedLibrary.h"
#include "numerics/solve/Pardiso.h"
#include "numerics/solve/Vendor.h"
#include "platform/platform_env.h"

#include <atomic>

namespace numerics
{
namespace
{

std::atomic<const PardisoFunctions*> replacement = nullptr;

} // namespace

const PardisoFunctions& ActivePardiso()
{
    if (const PardisoFunctions* functions = replacement.load())
        return *functions;
    static const std::wstring wish = platform::Environment(L"KVI_SOLVER").value_or(L"");
    if (wish == L"vendor" && FoundVendor())
        return FoundVendor()->solver;
    if (wish == L"mumps" && FoundDistributed())
        return *FoundDistributed();
    return BuiltInPardiso();
}

void ReplacePardiso(const PardisoFunctions* functions) { replacement = functions; }

} // namespace numerics

namespace math
{

std::wstring SparseSolverName() { return L"pardiso (" + numerics::ActivePardiso().name + L")"; }

void SetSparseSolverThreads(int threads)
{
    if (const auto set = numerics::ActivePardiso().setThreads)
        set(threads > 0 ? threads : 1);
}

void FreeSparseSolverMemory()
{
    if (const auto freeBuffers = numerics::ActivePardiso().freeBuffers)
        freeBuffers();
}

} // namespace math
