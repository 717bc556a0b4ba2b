/// @file
/// A set of identifiers kept as bits.
#pragma once

#include "foundation/kvi_export.h"

#include <cstdint>
#include <vector>

namespace Geom
{

/// The identifiers of one cell of a CellTable: bit (id mod 32) of word (id / 32). Grows on demand.
class KVI_API Cell
{
public:
    /// Adds @p id. @param room  the greatest identifier to set memory aside for at once
    void Add(std::uint32_t id, std::uint32_t room = 0);
    /// Removes @p id, if it is there.
    void Remove(std::uint32_t id);
    /// Adds all identifiers of @p other.
    void Unite(const Cell& other);
    /// Whether @p id is there.
    bool Contains(std::uint32_t id) const;
    /// Whether there is none.
    bool IsEmpty() const;
    /// Appends the identifiers to @p ids, ascending.
    void Append(std::vector<std::uint32_t>& ids) const;

private:
    std::vector<std::uint32_t> words_;
};

} // namespace Geom
