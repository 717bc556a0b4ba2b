/// @file
/// @internal What a direct solver has analysed and factorised, to recognise it again.
#pragma once

#include "numerics/system/MatrixView.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace numerics
{

/// Recognises by comparison whether a matrix has the pattern, and whether it has the values, of an
/// earlier one, so that callers need not report changes.
class KeptMatrix
{
public:
    bool HasPatternOf(const MatrixView& A) const;
    void SetPattern(const MatrixView& A);
    /// Remembers the values of A by a digest of their bits.
    /// @returns whether they are those of the last call
    bool SetValues(const MatrixView& A);
    std::size_t Bytes() const { return (rowStart_.size() + columns_.size()) * sizeof(int); }

private:
    std::vector<int> rowStart_, columns_;
    std::uint64_t digest_[2] = {0, 0};
};

} // namespace numerics
