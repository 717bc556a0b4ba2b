#include "numerics/numerics_Pardiso.h"

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
    return BuiltInPardiso();
}

void ReplacePardiso(const PardisoFunctions* functions) { replacement = functions; }

} // namespace math::impl
