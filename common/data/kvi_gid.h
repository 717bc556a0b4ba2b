/// @file
/// The number that identifies an item: a row of a table, or an item inside a container.
#pragma once

#include "foundation/kvi_export.h"

#include <compare>
#include <cstdint>

/// As a row of a table: the row's number, from 1. With a non-zero top byte: an item inside the
/// container that the low 24 bits name.
struct GID
{
    std::uint32_t value = 0; ///< top byte: the kind of item; low 24 bits: its number

    /// Order of the values.
    friend constexpr auto operator<=>(const GID&, const GID&) = default;
};

namespace kvi::gid
{

/// The container's number; a value without a top byte is returned as it is.
KVI_API GID ContainerIDFromGID(const GID& gid);
/// Whether @p gid is one of the three time tables: 1005, 1043, 1044.
KVI_API bool IsTimeTable(const GID& gid);

} // namespace kvi::gid
