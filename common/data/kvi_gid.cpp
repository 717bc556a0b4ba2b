#include "data/kvi_gid.h"

namespace kvi::gid
{

GID ContainerIDFromGID(const GID& gid) { return {gid.value & 0x00FFFFFFu}; }

bool IsTimeTable(const GID& gid)
{
    return gid.value == 1005 || gid.value == 1043 || gid.value == 1044;
}

} // namespace kvi::gid
