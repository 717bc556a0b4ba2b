/// @file
/// A set of identifiers.
#pragma once

#include "foundation/kvi_export.h"

#include <cstdint>
#include <vector>

namespace Geom
{

/// The identifiers in one cell of a CellTable. Its memory adapts to its contents: a sorted list
/// while that is shorter, else bit (id mod 32) of word (id / 32). Both grow on demand.
class KVI_API Cell
{
public:
    /// Adds @p id. Time proportional to the list, or constant.
    /// @throws std::bad_alloc with the set as it was
    void Add(std::uint32_t id);
    /// Removes @p id if present.
    void Remove(std::uint32_t id);
    /// Whether @p id is in the set.
    bool Contains(std::uint32_t id) const;
    /// Whether the set is empty.
    bool IsEmpty() const;
    /// Appends the identifiers to @p ids, ascending.
    void Append(std::vector<std::uint32_t>& ids) const;

private:
    std::vector<std::uint32_t> words_; ///< identifiers in ascending order, or bits
    bool areBits_ = false;
};

} // namespace Geom
