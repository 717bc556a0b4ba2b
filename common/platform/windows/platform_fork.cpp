#include "platform/platform_fork.h"

namespace platform
{

bool AddForkHandler(ForkHandler&) { return true; }

} // namespace platform
