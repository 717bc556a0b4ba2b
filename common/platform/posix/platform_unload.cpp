#include "platform/platform_unload.h"

namespace platform::impl
{
namespace
{

/// Runs before the destructors of statics where the library is unloaded, after them at the
/// process's end.
__attribute__((destructor)) void AtUnload() { BeginUnload(); }

} // namespace
} // namespace platform::impl
